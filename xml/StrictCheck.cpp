#include "xml/StrictCheck.h"

#include "xml/XMLDocument.h"

#include <expat.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

namespace reelsweep {

namespace {

constexpr const char* endsTooEarly = "the file ends too early";

class Checker {
public:
    explicit Checker(const std::string& name)
        : name_(name), parser_(XML_ParserCreate(nullptr), &XML_ParserFree) {
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), &startElement, &endElement);
        XML_SetEntityDeclHandler(parser_.get(), &entityDeclaration);
        XML_SetSkippedEntityHandler(parser_.get(), &skippedEntity);
        XML_SetStartDoctypeDeclHandler(parser_.get(), &startDoctype);
    }

    XML_Parser parser() const { return parser_.get(); }
    void stopAtRoot() { onlyRoot_ = true; }
    const std::string& root() const { return root_; }

    Outcome outcome(XML_Status status) const {
        if (status == XML_STATUS_OK) return Done{};
        Failure failure;
        failure.code = FailureCode::inputInvalid;
        failure.file = name_;
        failure.line = static_cast<long>(XML_GetCurrentLineNumber(parser_.get()));
        failure.column = static_cast<long>(XML_GetCurrentColumnNumber(parser_.get())) + 1;
        failure.message = refusal_.empty() ? reason() : refusal_;
        return failure;
    }

    Outcome unreadable(int error) const {
        return Failure{FailureCode::inputUnreadable, std::strerror(error), name_, 0, 0, ""};
    }

private:
    std::string reason() const {
        const XML_Error error = XML_GetErrorCode(parser_.get());
        // Expat's own words, "no element found", tell nobody that half of a file is missing.
        return error == XML_ERROR_NO_ELEMENTS ? endsTooEarly : XML_ErrorString(error);
    }

    static Checker& self(void* user) { return *static_cast<Checker*>(user); }

    void refuse(std::string reason) {
        if (refusal_.empty()) refusal_ = std::move(reason);
        XML_StopParser(parser_.get(), XML_FALSE);
    }

    static void XMLCALL startElement(void* user, const XML_Char* element, const XML_Char**) {
        if (self(user).root_.empty()) self(user).root_ = element;
        if (self(user).onlyRoot_) {
            XML_StopParser(self(user).parser_.get(), XML_FALSE);
            return;
        }
        if (self(user).mayDeclareElsewhere_) self(user).refuseEntitiesInTag();
        if (++self(user).depth_ > XMLDocument::maximumDepth)
            self(user).refuse("elements are nested more than " +
                              std::to_string(XMLDocument::maximumDepth) + " deep");
    }

    static void XMLCALL endElement(void* user, const XML_Char*) { --self(user).depth_; }

    // Interchange files declare none; a declared one is a way to blow up memory or to read other
    // files.
    static void XMLCALL entityDeclaration(void* user, const XML_Char* entity, int, const XML_Char*,
                                          int, const XML_Char*, const XML_Char*, const XML_Char*,
                                          const XML_Char*) {
        self(user).refuse("the document declares the entity \"" + std::string(entity) +
                          "\"; entity declarations are not accepted");
    }

    static void XMLCALL startDoctype(void* user, const XML_Char*, const XML_Char* systemId,
                                     const XML_Char* publicId, int) {
        self(user).mayDeclareElsewhere_ = systemId || publicId;
    }

    // Where a document names another one with declarations, Expat passes over unknown entities in
    // attributes without a word. Nothing declares any here but XML itself.
    void refuseEntitiesInTag() {
        int offset = 0;
        int size = 0;
        const char* const input = XML_GetInputContext(parser_.get(), &offset, &size);
        const int bytes = XML_GetCurrentByteCount(parser_.get());
        if (!input || bytes <= 0 || offset + bytes > size) return;
        std::string_view tag(input + offset, static_cast<std::size_t>(bytes));
        for (std::size_t at; (at = tag.find('&')) != std::string_view::npos;) {
            tag.remove_prefix(at + 1);
            const std::string_view name = tag.substr(0, tag.find(';'));
            constexpr std::array<std::string_view, 5> known = {"amp", "lt", "gt", "apos", "quot"};
            if (name.starts_with('#') || std::find(known.begin(), known.end(), name) != known.end())
                continue;
            refuse("undeclared entity \"" + std::string(name) + "\"");
            return;
        }
    }

    static void XMLCALL skippedEntity(void* user, const XML_Char* entity, int) {
        self(user).refuse("undeclared entity \"" + std::string(entity) + "\"");
    }

    std::string name_;
    std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser_;
    std::string refusal_;
    std::string root_;
    bool onlyRoot_ = false;
    bool mayDeclareElsewhere_ = false;  ///< the DOCTYPE names a document with declarations
    int depth_ = 0;
};

constexpr int chunkBytes = 256 * 1024;

}  // namespace

Outcome checkWellFormed(std::string_view bytes, const std::string& name) {
    Checker checker(name);
    while (bytes.size() > static_cast<std::size_t>(chunkBytes)) {
        const XML_Status status = XML_Parse(checker.parser(), bytes.data(), chunkBytes, XML_FALSE);
        if (status != XML_STATUS_OK) return checker.outcome(status);
        bytes.remove_prefix(static_cast<std::size_t>(chunkBytes));
    }
    return checker.outcome(
        XML_Parse(checker.parser(), bytes.data(), static_cast<int>(bytes.size()), XML_TRUE));
}

namespace {

Outcome checkFile(Checker& checker, int descriptor) {
    off_t offset = 0;
    for (;;) {
        void* const chunk = XML_GetBuffer(checker.parser(), chunkBytes);
        if (!chunk) return checker.unreadable(ENOMEM);
        const ssize_t got = pread(descriptor, chunk, static_cast<std::size_t>(chunkBytes), offset);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return checker.unreadable(errno);
        offset += got;
        const bool last = got == 0;
        const XML_Status status = XML_ParseBuffer(checker.parser(), static_cast<int>(got), last);
        if (status != XML_STATUS_OK || last) return checker.outcome(status);
    }
}

}  // namespace

Outcome checkWellFormed(int descriptor, const std::string& name) {
    Checker checker(name);
    return checkFile(checker, descriptor);
}

Result<std::string> rootElementOf(int descriptor, const std::string& name) {
    Checker checker(name);
    checker.stopAtRoot();
    const Outcome outcome = checkFile(checker, descriptor);
    if (!checker.root().empty()) return checker.root();
    return outcome ? Failure{FailureCode::inputInvalid, endsTooEarly, name, 1, 0, ""}
                   : outcome.failure();
}

}  // namespace reelsweep
