#include "cli/ReportFile.h"

#include "cli/SaveResult.h"
#include "report/ChangeCSV.h"

#include <algorithm>
#include <cctype>
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

Result<std::unique_ptr<ReportFile>> ReportFile::begin(const std::string& path,
                                                      const ChangeReport::Program& program) {
    Result<SpoolFile> spool = SpoolFile::create();
    if (!spool) return spool.failure();
    std::unique_ptr<ReportFile> file(new ReportFile(path, std::move(*spool)));
    switch (reportFormOf(path)) {
        case ReportForm::json: file->report_.emplace<ChangeReport>(file->spool_, program); break;
        case ReportForm::html: file->report_.emplace<HtmlReport>(file->spool_, program); break;
        case ReportForm::csv:
            file->report_.emplace<Csv>();
            writeChangesCSVHeader(file->spool_);
            break;
    }
    return file;
}

void ReportFile::addDocument(const ReportedDocument& document, const ChangeLedger* ledger) {
    if (auto* const json = std::get_if<ChangeReport>(&report_)) json->addDocument(document, ledger);
    if (auto* const html = std::get_if<HtmlReport>(&report_)) html->addDocument(document, ledger);
    if (std::get_if<Csv>(&report_) && ledger) writeChangesCSV(document.input, *ledger, spool_);
}

Outcome ReportFile::save(bool mayReplace) {
    // The spool knows whether it took everything.
    if (auto* const json = std::get_if<ChangeReport>(&report_)) json->finish();
    if (auto* const html = std::get_if<HtmlReport>(&report_)) html->finish();
    Outcome spooled = Done{};
    Outcome saved = saveResult({path_, mayReplace ? Overwrite::always : Overwrite::never},
                               [&](ByteSink& sink) { spooled = spool_.copyTo(sink); });
    return spooled ? saved : spooled;
}

}  // namespace reelsweep
