#include "xml/QuickCheck.h"

#include "xml/XMLDeclaration.h"
#include "xml/XMLDocument.h"

#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>

namespace reelsweep {

namespace {

using namespace bytes;

// A start tag longer than this is left to the strict check, so that one that is looked at again
// with every piece costs little.
constexpr std::size_t largestTag = std::size_t{64} * 1024;
constexpr std::size_t largestDeclaration = 256;

}  // namespace

// Bytes in

std::span<char> QuickCheck::room(std::size_t bytes) {
    const std::size_t needed = held_ + bytes + paddingBytes;
    if (needed > capacity_) {
        const std::size_t capacity = std::max(needed, 2 * capacity_);
        auto larger = std::make_unique_for_overwrite<char[]>(capacity);
        if (held_ > 0) std::memcpy(larger.get(), buffer_.get(), held_);
        buffer_ = std::move(larger);
        capacity_ = capacity;
    }
    return {buffer_.get() + held_, bytes};
}

bool QuickCheck::feed(std::string_view bytes) {
    if (asks_) return false;
    std::copy(bytes.begin(), bytes.end(), room(bytes.size()).begin());
    return feedFromRoom(bytes.size());
}

bool QuickCheck::feedFromRoom(std::size_t bytes) {
    if (asks_) return false;
    char* const fresh = buffer_.get() + held_;
    notes_.outline().carriageReturns =
        notes_.outline().carriageReturns || (bytes > 0 && std::memchr(fresh, '\r', bytes));
    held_ += bytes;
    end_ = buffer_.get() + held_;
    std::memset(buffer_.get() + held_, 0, paddingBytes);
    scan();
    return !asks_;
}

bool QuickCheck::finish() {
    return !asks_ && held_ == 0 && hasRoot_ && open_.empty() && run_ == Run::none;
}

void QuickCheck::scan() {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    const char* at = buffer_.get();
    if (!started_) {
        if (held_ < mark.size()) return;
        started_ = true;
        notes_.outline().byteOrderMark = startsWith(at, mark);
        if (notes_.outline().byteOrderMark) at += mark.size();
    }
    Step step = Step::on;
    while (step == Step::on) {
        if (run_ != Run::none)
            step = run(at);
        else if (open_.empty())
            step = outside(at);
        else
            step = text(at);
    }
    asks_ = step == Step::ask;
    base_ += static_cast<std::uint64_t>(at - buffer_.get());
    held_ = left(at);
    if (held_ > 0) std::memmove(buffer_.get(), at, held_);
}

// Characters

QuickCheck::Step QuickCheck::outside(const char*& at) {
    at = passSpace(at);
    return *at == '<' ? markup(at) : stray(at);
}

QuickCheck::Step QuickCheck::text(const char*& at) {
    for (;;) {
        if (*at == '\n') at = passIndentation(at);
        if (*at != '<') at = passPlain<'<', '&', ']'>(at);
        Step step = Step::on;
        switch (*at) {
            case '<': return markup(at);
            case '\n': continue;
            case '&': step = reference(at); break;
            case ']': step = bracket(at); break;
            default: step = unknownByte(at);
        }
        if (step != Step::on) return step;
    }
}

// At ']'. In text, "]]>" ends a CDATA section that did not begin.
QuickCheck::Step QuickCheck::bracket(const char*& at) const {
    constexpr std::string_view ending = "]]>";
    if (startsWith(at, ending)) return Step::ask;
    if (left(at) < ending.size()) return Step::wait;
    ++at;
    return Step::on;
}

// At a byte that is none of the marks of its place: white space, beyond ASCII, or not for us.
QuickCheck::Step QuickCheck::unknownByte(const char*& at) const {
    if (is(*at, isSpace)) {
        ++at;
        return Step::on;
    }
    if (isAscii(*at)) return stray(at);
    const std::size_t bytes = characterBytes(at);
    at += bytes;
    return bytes > 0 ? Step::on : stray(at, 4);
}

QuickCheck::Step QuickCheck::run(const char*& at) {
    const std::string_view ending = run_ == Run::comment ? "-->"
                                    : run_ == Run::cdata ? "]]>"
                                                         : "?>";
    for (;;) {
        at = passPlain<'-', ']', '?'>(at);
        if (*at != '-' && *at != ']' && *at != '?') {
            if (const Step step = unknownByte(at); step != Step::on) return step;
            continue;
        }
        if (left(at) < ending.size()) return Step::wait;
        if (startsWith(at, ending)) {
            at += ending.size();
            run_ = Run::none;
            return Step::on;
        }
        if (run_ == Run::comment && startsWith(at, "--")) return Step::ask;
        ++at;
    }
}

// At '&'. Only the five, and numbers of characters that XML allows.
QuickCheck::Step QuickCheck::reference(const char*& at) const {
    if (at[1] == '#') return characterReference(at);
    constexpr std::array<std::string_view, 5> known = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};
    for (const std::string_view reference : known) {
        if (!startsWith(at, reference)) continue;
        at += reference.size();
        return Step::on;
    }
    return stray(at, 6);
}

QuickCheck::Step QuickCheck::characterReference(const char*& at) const {
    constexpr int mostDigits = 8;
    const bool hexadecimal = at[2] == 'x';
    const char* digit = at + (hexadecimal ? 3 : 2);
    std::uint32_t code = 0;
    int digits = 0;
    for (; digits < mostDigits; ++digits, ++digit) {
        const char lower = static_cast<char>(*digit | 0x20);
        if (*digit >= '0' && *digit <= '9')
            code = code * (hexadecimal ? 16 : 10) + static_cast<std::uint32_t>(*digit - '0');
        else if (hexadecimal && lower >= 'a' && lower <= 'f')
            code = code * 16 + static_cast<std::uint32_t>(lower - 'a' + 10);
        else
            break;
    }
    if (*digit != ';' || digits == 0) return stray(at, mostDigits + 4);
    if (!isCharacter(code)) return Step::ask;
    at = digit + 1;
    return Step::on;
}

// Markup

QuickCheck::Step QuickCheck::markup(const char*& at) {
    const char second = at[1];
    if (second == '/') return endTag(at);
    if (is(second, startsName)) return startTag(at);
    if (second == '!') return exclamation(at);
    if (second == '?') return instruction(at);
    return stray(at, 2);
}

QuickCheck::Step QuickCheck::startTag(const char*& at) {
    if (open_.empty() && hasRoot_) return Step::ask;
    if (open_.depth() >= static_cast<std::size_t>(XMLDocument::maximumDepth)) return Step::ask;
    const char* const name = at + 1;
    const char* behind = passName(name);
    const std::string_view nameText(name, static_cast<std::size_t>(behind - name));
    bool selfClosed = false;
    Step step = Step::on;
    if (*behind == '>')
        ++behind;
    else
        step = attributes(behind, selfClosed);
    if (behind - at > static_cast<std::ptrdiff_t>(largestTag)) return Step::ask;
    if (step != Step::on) return step == Step::wait && left(at) > largestTag ? Step::ask : step;

    open(at, behind, nameText);
    if (selfClosed) close(behind, behind);
    at = behind;
    return Step::on;
}

// From behind the element's name to behind the tag.
QuickCheck::Step QuickCheck::attributes(const char*& at, bool& selfClosed) {
    for (std::size_t count = 0;;) {
        const char* const space = at;
        at = passSpace(at);
        if (*at == '>') {
            ++at;
            return Step::on;
        }
        if (*at == '/') {
            if (at[1] != '>') return stray(at, 2);
            at += 2;
            selfClosed = true;
            return Step::on;
        }
        if (at == space) return stray(at);
        if (const Step step = attribute(at, count); step != Step::on) return step;
    }
}

QuickCheck::Step QuickCheck::attribute(const char*& at, std::size_t& count) {
    if (!is(*at, startsName)) return stray(at);
    const char* const start = at;
    at = passName(at);
    if (left(at) == 0) return Step::wait;  // the name may go on
    const std::string_view name(start, static_cast<std::size_t>(at - start));
    const auto known = attributeNames_.begin() + static_cast<std::ptrdiff_t>(count);
    if (count == attributeNames_.size() || std::find(attributeNames_.begin(), known, name) != known)
        return Step::ask;
    attributeNames_[count++] = name;
    at = passSpace(at);
    if (*at != '=') return stray(at);
    at = passSpace(at + 1);
    if (*at != '"' && *at != '\'') return stray(at);
    const char quote = *at++;
    return attributeValue(at, quote);
}

QuickCheck::Step QuickCheck::attributeValue(const char*& at, char quote) {
    for (;;) {
        at = quote == '"' ? passPlain<'<', '&', '"'>(at) : passPlain<'<', '&', '\''>(at);
        if (*at == quote) {
            ++at;
            return Step::on;
        }
        if (*at == '<') return Step::ask;
        const Step step = *at == '&' ? reference(at) : unknownByte(at);
        if (step != Step::on) return step;
    }
}

QuickCheck::Step QuickCheck::endTag(const char*& at) {
    if (open_.empty()) return Step::ask;
    const char* const name = at + 2;
    const char* behind = name + open_.nameBytes();
    if (!open_.endsAt(name)) {
        if (left(name) < open_.nameBytes()) return Step::wait;
        if (!open_.isNamedAt(name)) return Step::ask;
        behind = passSpace(behind);
        if (behind - at > static_cast<std::ptrdiff_t>(largestTag)) return Step::ask;
        if (*behind != '>') return stray(behind);
    }
    close(at, behind + 1);
    at = behind + 1;
    return Step::on;
}

QuickCheck::Step QuickCheck::exclamation(const char*& at) {
    constexpr std::string_view comment = "<!--";
    constexpr std::string_view cdata = "<![CDATA[";
    if (startsWith(at, comment)) {
        at += comment.size();
        run_ = Run::comment;
        return Step::on;
    }
    if (startsWith(at, cdata)) {
        if (open_.empty()) return Step::ask;
        at += cdata.size();
        run_ = Run::cdata;
        return Step::on;
    }
    return left(at) < cdata.size() ? Step::wait : doctype(at);
}

QuickCheck::Step QuickCheck::doctype(const char*& at) {
    constexpr std::string_view start = "<!DOCTYPE";
    if (!startsWith(at, start) || hasRoot_ || hasDoctype_) return Step::ask;
    const char* behind = at + start.size();
    const char* const name = passSpace(behind);
    if (name != behind && is(*name, startsName)) {
        behind = passSpace(passName(name));
        if (*behind == '>') {
            if (behind - at >= static_cast<std::ptrdiff_t>(largestDeclaration)) return Step::ask;
            hasDoctype_ = true;
            at = behind + 1;
            return Step::on;
        }
    }
    return stray(at, largestDeclaration);
}

// At "<?".
QuickCheck::Step QuickCheck::instruction(const char*& at) {
    const char* const target = at + 2;
    const char* const behind = passName(target);
    const std::string_view name(target, static_cast<std::size_t>(behind - target));
    if (name.size() > largestDeclaration || (!name.empty() && !is(*target, startsName)))
        return Step::ask;
    const bool endsHere = *behind == '?' && behind[1] == '>';
    if (name.empty() || (!endsHere && !is(*behind, isSpace))) return stray(behind, 2);
    const auto isLetter = [&](std::size_t index, char letter) {
        return (name[index] | 0x20) == letter;
    };
    if (name.size() == 3 && isLetter(0, 'x') && isLetter(1, 'm') && isLetter(2, 'l'))
        return declaration(at);
    if (!endsHere) run_ = Run::instruction;
    at = behind + (endsHere ? 2 : 1);
    return Step::on;
}

QuickCheck::Step QuickCheck::declaration(const char*& at) {
    constexpr std::string_view start = "<?xml";
    if (placeOf(at) != (notes_.outline().byteOrderMark ? 3 : 0) || !startsWith(at, start))
        return Step::ask;
    std::string_view rest(at, std::min(left(at), largestDeclaration));
    const std::size_t end = rest.find("?>");
    if (end == std::string_view::npos) return stray(at, largestDeclaration);
    rest = rest.substr(0, end);
    if (!isPlainDeclaration(rest.substr(start.size()))) return Step::ask;
    at += end + 2;
    return Step::on;
}

void QuickCheck::open(const char* tag, const char* behind, std::string_view name) {
    std::uint8_t notes = 0;
    if (open_.depth() < OutlineNotes::outerLevels || name == OutlineNotes::innerName)
        notes = notes_.open(open_.depth(), {placeOf(tag), placeOf(behind), 0, 0}, name);
    open_.push(name, notes);
    hasRoot_ = true;
}

void QuickCheck::close(const char* tag, const char* behind) {
    if (const std::uint8_t notes = open_.pop(); notes != 0)
        notes_.close(notes, placeOf(tag), placeOf(behind));
}

// Whole documents

namespace {

// Pieces stay in the processor's own memory between reading and looking.
constexpr std::size_t pieceBytes = std::size_t{128} * 1024;

}  // namespace

std::optional<XMLOutline> quickOutline(std::string_view bytes) {
    QuickCheck check;
    while (!bytes.empty()) {
        const std::size_t piece = std::min(bytes.size(), pieceBytes);
        if (!check.feed(bytes.substr(0, piece))) return {};
        bytes.remove_prefix(piece);
    }
    if (!check.finish()) return {};
    return std::move(check.outline());
}

std::optional<XMLOutline> quickOutline(int descriptor) {
    QuickCheck check;
    for (off_t offset = 0;;) {
        const std::span<char> room = check.room(pieceBytes);
        const ssize_t got = pread(descriptor, room.data(), room.size(), offset);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return {};
        if (got == 0) break;
        offset += got;
        if (!check.feedFromRoom(static_cast<std::size_t>(got))) return {};
    }
    if (!check.finish()) return {};
    return std::move(check.outline());
}

}  // namespace reelsweep
