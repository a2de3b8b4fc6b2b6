#include "documents/Document.h"

#include "documents/FCPXMLDocument.h"
#include "documents/OutputBin.h"
#include "documents/SequenceDocument.h"

namespace reelsweep {

const char* description(Delivery delivery) {
    switch (delivery) {
        case Delivery::project: return "project";
        case Delivery::standalone: return "standalone";
        case Delivery::document: return "document";
        case Delivery::host: return "host";
        case Delivery::automatic:
        case Delivery::none: break;
    }
    return "";
}

TidyRequest tidyRequest(const DocumentRequest& request) {
    return {request.passes, request.ignoredEffects, request.keepPicture, request.provesPicture,
            request.keep,   request.rules,          request.importSafe,  {}};
}

Result<FileIdentity> saveDocument(const XMLDocument& document, const std::string& path,
                                  const SaveOptions& options) {
    AtomicFile file(path, options.overwrite);
    if (options.mustStillBe.known()) file.expectUnchanged(options.mustStillBe);
    if (Outcome opened = file.open(); !opened) return opened.failure();
    document.serialise(XMLFormat::pretty, file);
    if (options.codes) writeHFSCodes(file.descriptor(), *options.codes);
    const FileIdentity identity = FileIdentity::ofDescriptor(file.descriptor());
    if (Outcome committed = file.commit(); !committed) return committed.failure();
    return identity;
}

// A later run on the same document adds its own bin behind this one.
std::shared_ptr<const SplicedSave> Tidied::splice() const {
    if (splice_) return splice_;
    if (!addition_ || addition_.nextSibling()) return {};
    return spliceForBin(*document_, source_);
}

void Tidied::write(AtomicFile& file, ByteSink& sink) const {
    const std::shared_ptr<const SplicedSave> spliced = splice();
    if (!spliced) return write(sink);
    spliced->writeHead(file);
    writeAfterHead(file, sink);
}

void Tidied::writeAfterHead(AtomicFile& file, ByteSink& sink) const {
    const std::shared_ptr<const SplicedSave> spliced = splice();
    spliced->writeChild(addition_, sink);
    spliced->writeTail(file);
}

void Tidied::write(ByteSink& sink) const { document_->serialise(XMLFormat::pretty, sink); }

Outcome Tidied::save(const std::string& path, Overwrite overwrite) const {
    if (!document_) return Failure{FailureCode::outputFailed, "there is no result to save", path};
    AtomicFile file(path, overwrite);
    if (Outcome opened = file.open(); !opened) return opened;
    write(file, file);
    if (fileCodes_) writeHFSCodes(file.descriptor(), *fileCodes_);
    return file.commit();
}

namespace {

template <class Opened>
Result<std::unique_ptr<Document>> asDocument(Result<std::unique_ptr<Opened>> opened) {
    if (!opened) return opened.failure();
    return std::unique_ptr<Document>(std::move(*opened));
}

}  // namespace

Result<std::unique_ptr<Document>> openDocument(const std::string& path,
                                               const OpenOptions& options) {
    const Result<DocumentFormat> format = documentFormat(path);
    if (!format) return format.failure();
    switch (*format) {
        case DocumentFormat::fcpxml:
            return asDocument(FCPXMLDocument::open(path, FCPXMLDocument::Holding::anything));
        case DocumentFormat::nativeProject:
            if (options.host) return asDocument(NativeDocument::open(path, *options.host));
            return Failure{
                FailureCode::inputUnreadable,
                "is a native project, whose sequences only its editing application knows", path};
        case DocumentFormat::xmeml: break;
    }
    return asDocument(XMEMLDocument::open(path, options.verification));
}

Result<Tidied> tidy(Document& document, const DocumentRequest& request,
                    const TidyControls& controls) {
    return document.tidy(request, controls);
}

}  // namespace reelsweep
