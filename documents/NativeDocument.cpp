#include "base/Log.h"
#include "documents/SequenceDocument.h"
#include "xml/XMLQuery.h"

namespace reelsweep {

namespace {

void showProgress(const TidyControls& controls, const char* text) {
    if (controls.progress) controls.progress(text);
}

Failure stopped() { return {FailureCode::cancelled, "cancelled"}; }

// The log knows each by its own line.
Failure cannotFetch(const char* message, const std::string& detail, const std::string& logged) {
    Log::append("%@", logged);
    Failure failure{FailureCode::processing, message};
    failure.detail = detail;
    return failure;
}

}  // namespace

Result<std::unique_ptr<NativeDocument>> NativeDocument::open(const std::string& path,
                                                             EditingHost& host) {
    auto document = std::make_unique<NativeDocument>(path, host);
    if (Outcome listed = document->list(); !listed) return listed.failure();
    return document;
}

Outcome NativeDocument::list(const std::stop_token& stop) {
    const auto listing = host_.list(path_, stop);
    if (stop.stop_requested()) return stopped();
    if (!listing)
        return Failure{FailureCode::inputUnreadable, "Final Cut Pro did not list the sequences",
                       path_};
    for (const XMLNode& node : listing->sequences) {
        SourceSequence& sequence = sequences_.emplace_back(SourceSequence::of(node));
        sequence.isShortForm = listing->areShortForms;
        sequence.owner = listing->document;
    }
    return Done{};
}

Result<SourceSequence> NativeDocument::wholeSequence(std::size_t row,
                                                     const TidyControls& controls) {
    SourceSequence& sequence = sequences_[row];
    if (!sequence.isShortForm) return sequence;
    showProgress(controls, "Fetching XML from Final Cut Pro...");
    // Without a uuid there is nothing to ask by, and a host could answer with another sequence.
    const std::string uuid = sequence.uuid().value_or("");
    const auto data = uuid.empty() ? std::nullopt : host_.fetch(uuid, path_, controls.stop);
    if (controls.stop.stop_requested()) return stopped();
    if (!data) {
        const std::string text =
            "Reelsweep could not get XML data for the sequence \"" + sequence.title + "\"";
        return cannotFetch("Unable to get XML data", text + ".", "Unable to get XML data. " + text);
    }
    Result<XMLDocument> parsed = XMLDocument::parse(*data, sequence.title);
    if (!parsed) {
        const std::string reason = parsed.failure().description();
        return cannotFetch("Unable to load XML data", reason,
                           "Unable to load XML data - " + reason);
    }
    const auto matches = selectNodes(parsed->node(), ".//sequence[1]");
    if (!matches || matches->empty())
        return cannotFetch("Unable to load sequence data", "", "Unable to load sequence data - ");
    sequence.node = matches->front();
    sequence.owner = std::make_shared<XMLDocument>(std::move(*parsed));
    sequence.isShortForm = false;
    return sequence;
}

Result<std::shared_ptr<const XMLDocument>> NativeDocument::deliver(
    std::span<const XMLNode> sequences, const DocumentRequest& request,
    const TidyControls& controls) {
    if (request.delivery == Delivery::none) return std::shared_ptr<const XMLDocument>();
    if (request.delivery != Delivery::host)
        return Failure{FailureCode::usage,
                       "is a native project; its tidied sequences go to Final Cut Pro", path_};
    showProgress(controls, "Sending to Final Cut Pro...");
    const Result<std::string> output = binText(sequences, host_.xmemlVersion(), controls.stop);
    if (!output) return output.failure();
    if (!host_.send(*output, path_, controls.stop)) {
        // It may have come to Final Cut Pro all the same; nobody waited to hear.
        if (controls.stop.stop_requested()) return stopped();
        Log::append("Could not send data to FCP");
        Failure failure{FailureCode::processing, "Processing failed"};
        failure.detail = "Could not send data to Final Cut Pro.";
        return failure;
    }
    return std::shared_ptr<const XMLDocument>();
}

void NativeDocument::showDelivered(std::span<const std::string> uuids,
                                   const std::stop_token& stop) {
    Log::append("Data sent to FCP successfully. Opening new sequences in FCP...");
    for (const std::string& uuid : uuids) host_.open(uuid, path_, stop);
}

}  // namespace reelsweep
