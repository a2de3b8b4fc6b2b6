// TidyPreview: what the ticked options would do, worked out beside the user's work.
//
// A new question stops the work on the one before. Nothing is changed, logged or alerted.
// Owner: the window. Thread rule: main thread; the work goes on in a thread of its own, which only
// reads the tree. Whoever wants to edit the tree waits for whenIdle() first.
#pragma once

#include "shell/DryRun.h"
#include "xml/XMLDocument.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

namespace reelsweep {

class TidyPreview final : public QObject {
    Q_OBJECT

public:
    struct Question {
        std::shared_ptr<const XMLDocument> document;  ///< keeps the sources alive
        std::vector<XMLNode> sources;                 ///< what a run would tidy
        /// A sequence that a run would leave alone, and that is to be seen all the same; or null.
        XMLNode aside;
        DryRunRequest request;
    };
    using Picture = std::shared_ptr<const TimelinePicture>;
    struct Answer {
        std::vector<Picture> pictures;  ///< one for each source; none when it could not be done
        Picture aside;                  ///< as it is, with nothing done to it
        std::map<std::string_view, std::size_t> changes;  ///< by option
    };

    explicit TidyPreview(QObject* parent = nullptr);
    /// Waits for the work, which is stopped.
    ~TidyPreview() override;

    /// Begins anew, whatever is going on.
    void ask(Question question);
    /// Stops, and forgets what was asked.
    void cancel();
    /// Calls `then` as soon as nothing reads the tree any more: at once, or after the work that is
    /// going has been stopped.
    void whenIdle(std::function<void()> then);
    bool isBusy() const { return thread_.joinable(); }

signals:
    void answered(const reelsweep::TidyPreview::Answer& answer);
    /// From the thread, for the main thread.
    void threadEnds();

private:
    void begin(Question question);
    void ended();

    std::jthread thread_;
    // The thread's, until it has been joined.
    Answer found_;
    bool isWhole_ = false;
    std::unique_ptr<Question> next_;
    std::function<void()> then_;
    bool isWanted_ = false;  ///< the answer of the work that is going
};

}  // namespace reelsweep
