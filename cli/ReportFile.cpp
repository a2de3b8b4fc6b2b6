#include "cli/ReportFile.h"

#include "cli/SaveResult.h"
#include "report/ChangeCSV.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <utility>

namespace reelsweep {

ReportForm reportFormOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    if (extension == ".csv") return ReportForm::csv;
    if (extension == ".html" || extension == ".htm") return ReportForm::html;
    return ReportForm::json;
}

bool writeReportPart(ReportForm form, const ReportedDocument& document, const ChangeLedger* ledger,
                     ByteSink& sink) {
    switch (form) {
        case ReportForm::html: return writeHtmlDocument(sink, document, ledger);
        case ReportForm::csv: return !ledger || writeChangesCSV(document.input, *ledger, sink);
        case ReportForm::json: break;
    }
    return writeReportedDocument(sink, document, ledger);
}

Result<std::unique_ptr<ReportFile>> ReportFile::begin(const std::string& path,
                                                      const ChangeReport::Program& program) {
    Result<SpoolFile> spool = SpoolFile::create();
    if (!spool) return spool.failure();
    std::unique_ptr<ReportFile> file(new ReportFile(path, std::move(*spool)));
    switch (reportFormOf(path)) {
        case ReportForm::json: file->report_.emplace<ChangeReport>(*file->spool_, program); break;
        case ReportForm::html: file->report_.emplace<HtmlReport>(*file->spool_, program); break;
        case ReportForm::csv:
            file->report_.emplace<Csv>();
            writeChangesCSVHeader(*file->spool_);
            break;
    }
    return file;
}

void ReportFile::beginDocument() {
    if (auto* const json = std::get_if<ChangeReport>(&report_)) json->beginDocument();
}

void ReportFile::addDocument(const ReportedDocument& document, const ChangeLedger* ledger) {
    beginDocument();
    writeReportPart(reportFormOf(path_), document, ledger, *spool_);
}

void ReportFile::addPart(ReportPart part) {
    beginDocument();
    takeOwnPart();
    parts_.push_back(std::move(part));
}

Outcome ReportFile::copy(const ReportPart& part, ByteSink& sink) {
    if (part.error != 0)
        return Failure{FailureCode::outputFailed, std::strerror(part.error), "temporary file"};
    return part.spool->copyTo(sink, part.start, part.size);
}

void ReportFile::takeOwnPart() {
    const std::uint64_t size = spool_->size();
    if (size > taken_) parts_.push_back({spool_, taken_, size - taken_});
    taken_ = size;
}

Outcome ReportFile::save(bool mayReplace) {
    // The spool knows whether it took everything.
    if (auto* const json = std::get_if<ChangeReport>(&report_)) json->finish();
    if (auto* const html = std::get_if<HtmlReport>(&report_)) html->finish();
    takeOwnPart();
    Outcome spooled = Done{};
    Outcome saved =
        saveResult({path_, mayReplace ? Overwrite::always : Overwrite::never}, [&](ByteSink& sink) {
            for (const ReportPart& part : parts_)
                if (spooled) spooled = copy(part, sink);
        });
    return spooled ? saved : spooled;
}

}  // namespace reelsweep
