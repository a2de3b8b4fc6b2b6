// ItemWriter: the items of generated timelines: clips, generators and transitions.
//
// Owner: the generator. Thread rule: each belongs to one thread.
#pragma once

#include "bench/Markup.h"
#include "bench/ProjectGenerator.h"

#include <cstddef>

namespace reelsweep {

class ItemWriter {
public:
    virtual ~ItemWriter() = default;

protected:
    static constexpr long inTransition = -1;

    ItemWriter(const GeneratorOptions& options, ByteSink& sink)
        : options_(options), random_(options.seed), xml_(sink) {}

    void rate();
    void writeTransition(long start, long end, const char* alignment);
    void writeItem(long start, long end, long length);
    void writeSource();
    void writeFile();
    void writeFilters();
    void writeMotion();
    void writeMarker(std::size_t number, long in);
    void writeLink(std::size_t number);

    /// Writes the sequence that the next clip plays. False when it plays no sequence.
    virtual bool writesSequence() = 0;

    template <class Value>
    void effect(const char* name, const char* id, const char* type, const char* parameter,
                const Value& value) {
        xml_.open("effect");
        xml_.leaf("name", name);
        xml_.leaf("effectid", id);
        xml_.leaf("effecttype", type);
        xml_.leaf("mediatype", isAudio_ ? "audio" : "video");
        xml_.open("parameter");
        xml_.leaf("parameterid", parameter);
        xml_.leaf("value", value);
        xml_.close();
        xml_.close();
    }

    GeneratorOptions options_;
    Random random_;
    Markup xml_;
    bool isMixed_ = false;  ///< items vary and take what an export may hold
    bool isAudio_ = false;
    int track_ = 0;
    std::size_t clipIndex_ = 0;  ///< of the last item of the track, counted from 1
    std::size_t items_ = 0;
    long files_ = 0;
    bool isOdd_ = false;  ///< the next item ends at what is a number in one way of reading only
};

}  // namespace reelsweep
