// QuickCheck: "surely well-formed", or "ask the strict check". It refuses nothing by itself.
//
// Whatever it accepts, the strict check accepts: documents in UTF-8 as editing systems write them,
// with names in ASCII, no DOCTYPE but `<!DOCTYPE name>`, and no entities but the five that XML
// defines. On its way it notes the outline of the document.
// Owner: the caller. Thread rule: each belongs to one thread.
#pragma once

#include "xml/OpenElements.h"
#include "xml/OutlineNotes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace reelsweep {

/// Takes a document in pieces of any size; how it is cut makes no difference to the answer.
class QuickCheck {
public:
    /// Takes the next bytes. False when the strict check must be asked: more bytes are of no use.
    bool feed(std::string_view bytes);
    /// The same without a copy: what the caller has put at the start of room(bytes).
    bool feedFromRoom(std::size_t bytes);
    /// A place for the next bytes, until the next call.
    std::span<char> room(std::size_t bytes);
    /// After the last bytes: are they surely a well-formed document?
    bool finish();
    /// What was noted; whole once finish() has said yes. It names no file.
    XMLOutline& outline() { return notes_.outline(); }

private:
    enum class Step {
        on,    // go on from here
        wait,  // more bytes are needed
        ask,   // not for us
    };
    // What runs over any number of bytes and tokens do not matter in.
    enum class Run { none, comment, cdata, instruction };

    void scan();
    Step outside(const char*& at);
    Step text(const char*& at);
    Step run(const char*& at);
    Step markup(const char*& at);
    Step startTag(const char*& at);
    Step attributes(const char*& at, bool& selfClosed);
    Step attribute(const char*& at, std::size_t& count);
    Step attributeValue(const char*& at, char quote);
    Step endTag(const char*& at);
    Step exclamation(const char*& at);
    Step doctype(const char*& at);
    Step instruction(const char*& at);
    Step declaration(const char*& at);
    Step reference(const char*& at) const;
    Step characterReference(const char*& at) const;
    Step bracket(const char*& at) const;
    Step unknownByte(const char*& at) const;
    /// What to do about a byte that does not belong where it stands, in a token that needs at most
    /// `reach` bytes from there.
    Step stray(const char* at, std::size_t reach = 1) const {
        return left(at) < reach ? Step::wait : Step::ask;
    }

    void open(const char* tag, const char* behind, std::string_view name);
    void close(const char* tag, const char* behind);
    std::size_t left(const char* at) const { return static_cast<std::size_t>(end_ - at); }
    std::uint64_t placeOf(const char* at) const {
        return base_ + static_cast<std::uint64_t>(at - buffer_.get());
    }

    // Bytes that are not settled yet. Zeros stand behind them, so that no loop needs to look for
    // the end: a zero ends every stretch of bytes that may follow one another.
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t held_ = 0;
    const char* end_ = nullptr;
    std::uint64_t base_ = 0;  // the place of the buffer's first byte in the document

    bool asks_ = false;
    bool started_ = false;
    bool hasDoctype_ = false;
    bool hasRoot_ = false;
    Run run_ = Run::none;
    OpenElements open_;
    std::array<std::string_view, 64> attributeNames_;  // of the tag at hand

    OutlineNotes notes_;
};

/// The outline of bytes that are surely a well-formed document that we accept; nothing when the
/// strict check must be asked.
std::optional<XMLOutline> quickOutline(std::string_view bytes);
/// The same for an open file, from its start and without moving the file offset. Nothing also when
/// the file cannot be read. Names no file.
std::optional<XMLOutline> quickOutline(int descriptor);

}  // namespace reelsweep
