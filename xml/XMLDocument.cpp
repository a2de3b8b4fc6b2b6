#include "xml/XMLDocument.h"

#include "base/UniqueDescriptor.h"
#include "xml/BlanksBesideCData.h"
#include "xml/QuickCheck.h"
#include "xml/SequenceFinder.h"
#include "xml/StrictCheck.h"
#include "xml/XMLAccess.h"
#include "xml/XMLWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <future>
#include <optional>
#include <vector>

namespace reelsweep {

namespace {

// pugixml reads line ends as XML wants them in texts and comments, but not in processing
// instructions and the DOCTYPE.
class LineEndNormaliser final : public pugi::xml_tree_walker {
public:
    bool for_each(pugi::xml_node& node) override {
        if (node.type() != pugi::node_pi && node.type() != pugi::node_doctype) return true;
        std::string text = node.value();
        for (std::size_t at = text.find('\r'); at != std::string::npos; at = text.find('\r', at)) {
            if (at + 1 < text.size() && text[at + 1] == '\n')
                text.erase(at, 1);
            else
                text[at] = '\n';
        }
        node.set_value(text.c_str());
        return true;
    }
};

// What is known of the bytes when the parser has used them up.
struct ByteNotes {
    explicit ByteNotes(std::string_view bytes)
        : hasCarriageReturn(bytes.find('\r') != bytes.npos), blanks(blanksBesideCData(bytes)) {}

    bool hasCarriageReturn;
    std::vector<BlanksAround> blanks;
};

}  // namespace

struct XMLDocument::Tree {
    pugi::xml_document pugi;
    pugi::xml_node content;

    // Gives the parsed nodes the layout that XMLAccess.h draws.
    void arrange(bool mayEmbed = false) {
        pugi::xml_node lastOfProlog;
        for (const pugi::xml_node node : pugi.children()) {
            if (node.type() != pugi::node_declaration && node.type() != pugi::node_doctype)
                continue;
            lastOfProlog = node;
            // Whatever the file was in, the tree is UTF-8 from here on, and so is what is saved.
            if (pugi::xml_attribute encoding = node.attribute("encoding"))
                encoding.set_value("UTF-8");
        }
        pugi::xml_node next = lastOfProlog ? lastOfProlog.next_sibling() : pugi.first_child();

        pugi::xml_node slot = XMLAccess::appendSlot(pugi);
        content = slot.append_child(pugi::node_element);
        const char contentName[] = {XMLAccess::contentMark, '\0'};
        content.set_name(contentName);
        while (next && next != slot) {
            const pugi::xml_node moved = next;
            next = next.next_sibling();
            content.append_move(moved);
        }
        XMLAccess::markDetached(pugi.append_child(pugi::node_element), mayEmbed);
    }

    Outcome takeParsed(const pugi::xml_parse_result& parsed, const std::string& name,
                       const ByteNotes& notes) {
        if (!parsed)
            return Failure{FailureCode::inputInvalid, parsed.description(), name, 0, 0, ""};
        LineEndNormaliser normaliser;
        if (notes.hasCarriageReturn) pugi.traverse(normaliser);
        restoreBlanks(pugi, notes.blanks);
        arrange(true);
        return Done{};
    }
};

XMLDocument::XMLDocument() : tree_(std::make_unique<Tree>()) { tree_->arrange(); }
XMLDocument::~XMLDocument() = default;
XMLDocument::XMLDocument(XMLDocument&&) noexcept = default;
XMLDocument& XMLDocument::operator=(XMLDocument&&) noexcept = default;

namespace {

Failure emptyInput(const std::string& name) {
    return {FailureCode::inputInvalid, "the file is empty", name, 1, 0, ""};
}

Failure unreadable(const std::string& path, const char* what) {
    return {FailureCode::inputUnreadable, what, path, 0, 0, ""};
}

// Memory that pugixml may take over.
struct ParserFree {
    void operator()(char* bytes) const { pugi::get_memory_deallocation_function()(bytes); }
};
using ParserBuffer = std::unique_ptr<char, ParserFree>;

ParserBuffer allocateForParser(std::size_t bytes) {
    return ParserBuffer(static_cast<char*>(pugi::get_memory_allocation_function()(bytes)));
}

// Reads up to `limit` bytes; short only at the end of the file.
ssize_t readFully(int descriptor, char* bytes, std::size_t limit) {
    std::size_t done = 0;
    while (done < limit) {
        const ssize_t got = read(descriptor, bytes + done, limit - done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<ssize_t>(done);
}

// Pipes and devices have no size and are read once only.
Result<std::string> readStream(int descriptor, const std::string& path) {
    std::string bytes;
    constexpr std::size_t piece = std::size_t{256} * 1024;
    for (;;) {
        const std::size_t before = bytes.size();
        bytes.resize(before + piece);
        const ssize_t got = readFully(descriptor, bytes.data() + before, piece);
        if (got < 0) return unreadable(path, std::strerror(errno));
        bytes.resize(before + static_cast<std::size_t>(got));
        if (static_cast<std::size_t>(got) < piece) return bytes;
    }
}

// From this size on the check runs beside the parser.
constexpr std::size_t largeInputBytes = std::size_t{1024} * 1024;

}  // namespace

struct XMLDocument::Checked {
    Outcome outcome;
    std::optional<XMLOutline> outline;  ///< when the quick check settled it

    static std::shared_ptr<const Checked> answer(Outcome outcome,
                                                 std::optional<XMLOutline> outline = {}) {
        return std::make_shared<Checked>(Checked{std::move(outcome), std::move(outline)});
    }

    // The check of an open file, and whether the file stayed the same meanwhile.
    static std::shared_ptr<const Checked> ofFile(const UniqueDescriptor& file,
                                                 const FileIdentity& identity,
                                                 const std::string& path) {
        std::optional<XMLOutline> outline = quickOutline(file.get());
        if (!outline)
            if (Outcome checked = checkWellFormed(file.get(), path); !checked)
                return answer(std::move(checked));
        if (FileIdentity::ofDescriptor(file.get()) != identity)
            return answer(unreadable(path, "changed while it was being read"));
        if (outline) outline->file = identity;
        return answer(Done{}, std::move(outline));
    }
};

Result<XMLDocument> XMLDocument::parse(std::string_view bytes, const std::string& name) {
    if (bytes.empty()) return emptyInput(name);
    if (!quickOutline(bytes))
        if (Outcome checked = checkWellFormed(bytes, name); !checked) return checked.failure();
    XMLDocument document;
    document.tree_ = std::make_unique<Tree>();
    const auto parsed =
        document.tree_->pugi.load_buffer(bytes.data(), bytes.size(), XMLAccess::embeddingOptions);
    if (Outcome taken = document.tree_->takeParsed(parsed, name, ByteNotes(bytes)); !taken)
        return taken.failure();
    return document;
}

Result<XMLDocument> XMLDocument::load(const std::string& path, Verification verification) {
    const auto file = std::make_shared<UniqueDescriptor>(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file->get() < 0) return unreadable(path, std::strerror(errno));
    struct stat status {};
    if (fstat(file->get(), &status) != 0) return unreadable(path, std::strerror(errno));
    if (S_ISDIR(status.st_mode)) return unreadable(path, "is a folder, not a file");
    if (!S_ISREG(status.st_mode)) {
        const Result<std::string> bytes = readStream(file->get(), path);
        if (!bytes) return bytes.failure();
        return parse(*bytes, path);
    }
    const std::size_t size = static_cast<std::size_t>(status.st_size);
    if (size == 0) return emptyInput(path);

    // The parser works in place and destroys the bytes, so the check reads the file for itself.
    XMLDocument document;
    const FileIdentity identity = FileIdentity::ofDescriptor(file->get());
    const auto policy = size >= largeInputBytes ? std::launch::async : std::launch::deferred;
    document.check_ = std::async(policy, [file, identity, path] {
                          return Checked::ofFile(*file, identity, path);
                      }).share();

    ParserBuffer bytes = allocateForParser(size);
    if (!bytes) return unreadable(path, std::strerror(ENOMEM));
    const ssize_t got = readFully(file->get(), bytes.get(), size);
    if (got < 0) return unreadable(path, std::strerror(errno));
    const std::size_t gotBytes = static_cast<std::size_t>(got);
    const ByteNotes notes({bytes.get(), gotBytes});
    document.tree_ = std::make_unique<Tree>();
    const auto parsed = document.tree_->pugi.load_buffer_inplace_own(bytes.release(), gotBytes,
                                                                     XMLAccess::embeddingOptions);
    // The check knows line and column, so it speaks first where both have something to say.
    if (verification == Verification::beforeUse || !parsed)
        if (Outcome checked = document.verify(); !checked) return checked.failure();
    if (Outcome taken = document.tree_->takeParsed(parsed, path, notes); !taken)
        return taken.failure();
    document.loadedFile_ = identity;
    return document;
}

Outcome XMLDocument::verify() const {
    return check_.valid() ? check_.get()->outcome : Outcome(Done{});
}

const XMLOutline* XMLDocument::outline() const {
    if (!check_.valid()) return nullptr;
    const std::optional<XMLOutline>& outline = check_.get()->outline;
    return outline && outline->file == loadedFile_ ? &*outline : nullptr;
}

std::vector<XMLNode> XMLDocument::loadedSequences() const {
    std::vector<XMLNode> sequences;
    const bool isChecked =
        check_.valid() && check_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    if (const XMLOutline* const known = isChecked ? outline() : nullptr) {
        if (const auto found = SequenceFinder(known->sequences).below(tree_->content)) {
            for (const pugi::xml_node& node : *found) sequences.push_back(XMLAccess::handle(node));
            return sequences;
        }
    }
    node().forEachDescendant({"sequence"},
                             [&](XMLNode sequence) { sequences.push_back(sequence); });
    return sequences;
}

Result<std::string> rootElementName(const std::string& path) {
    const UniqueDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) return unreadable(path, std::strerror(errno));
    struct stat status {};
    if (fstat(file.get(), &status) == 0 && S_ISDIR(status.st_mode))
        return unreadable(path, "is a folder, not a file");
    if (status.st_size == 0 && S_ISREG(status.st_mode)) return emptyInput(path);
    return rootElementOf(file.get(), path);
}

XMLNode XMLDocument::node() const { return XMLAccess::handle(tree_->content); }

XMLNode XMLDocument::rootElement() const {
    XMLNode root = node().firstChild();
    while (root && !root.isElement()) root = root.nextSibling();
    return root;
}

void XMLDocument::serialise(XMLFormat format, ByteSink& sink) const {
    XMLWriter writer(sink, format);
    for (const pugi::xml_node node : tree_->pugi.children()) {
        if (node.type() == pugi::node_element) break;  // the slot of the content ends the prolog
        writer.write(node);
    }
    for (const pugi::xml_node node : tree_->content.children()) writer.write(node);
    writer.flush();
}

namespace {

void write(const XMLNode& node, XMLWriter& writer) {
    pugi::xml_document alone;
    if (XMLAccess::isEmbeddedText(node)) {
        pugi::xml_node text = alone.append_child(pugi::node_pcdata);
        text.set_value(XMLAccess::textRecord(node).value());
        writer.write(text);
    } else {
        writer.write(XMLAccess::pugi(node));
    }
    writer.flush();
}

struct StringSink final : ByteSink {
    std::string text;
    bool write(std::string_view bytes) override {
        text.append(bytes);
        return true;
    }
};

}  // namespace

std::string XMLDocument::serialise(XMLFormat format) const {
    StringSink sink;
    serialise(format, sink);
    return std::move(sink.text);
}

std::string serialise(const XMLNode& node, XMLFormat format) {
    StringSink sink;
    XMLWriter writer(sink, format);
    write(node, writer);
    return std::move(sink.text);
}

void serialise(const XMLNode& node, const XMLLayout& layout, ByteSink& sink) {
    XMLWriter writer(sink, layout);
    write(node, writer);
}

}  // namespace reelsweep
