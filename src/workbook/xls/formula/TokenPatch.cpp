// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/TokenPatch.h"

#include <cstdint>
#include <string>
#include <vector>

#include "base/LittleEndian.h"
#include "workbook/xls/formula/BuiltInFunctions.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::uint8_t kFirstClassId = 0x20;
constexpr std::uint8_t kClassBits = 0x60;
constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

// What may take the place of what.
enum class Slot : std::uint8_t {
    Operand,
    Function,
    Prefix,
    Infix,
    Reference,  // the operators that combine references
    Memory,
    Other,  // itself only
    Mark,   // no part of the text
};

struct Piece {
    Token token;
    std::string_view bytes;
    Slot slot = Slot::Other;
};

bool hasFlag(const Token& token, std::uint8_t flag) {
    return (static_cast<std::uint8_t>(token.operands[0]) & flag) != 0;
}

Slot slotOf(const Token& token) {
    switch (token.id) {
        case token::kAttr:
            if (hasFlag(token, attribute::kSum)) return Slot::Function;
            return hasFlag(token, attribute::kSpace) ? Slot::Other : Slot::Mark;
        case token::kFunc:
        case token::kFuncVar:
            return Slot::Function;
        case token::kUplus:
        case token::kUminus:
            return Slot::Prefix;
        case token::kIsect:
        case token::kUnion:
        case token::kRange:
            return Slot::Reference;
        case token::kPercent:
        case token::kParen:
            return Slot::Other;
        case token::kMemArea:
        case token::kMemErr:
        case token::kMemFunc:
            return Slot::Memory;
        case token::kMemNoMem:
        case token::kMemAreaN:
        case token::kMemNoMemN:
        case token::kExtended:
        case token::kSheet:
        case token::kEndSheet:
        case token::kFuncCE:
            return Slot::Other;
        default:
            return token.id <= token::kNotEqual ? Slot::Infix : Slot::Operand;
    }
}

// Nothing when they do not come out even.
std::optional<std::vector<Piece>> piecesOf(std::string_view tokens, Version version) {
    std::vector<Piece> pieces;
    TokenReader reader(tokens, version);
    Token token;
    while (reader.next(token)) {
        pieces.push_back(
            {token, tokens.substr(token.offset, token.operands.size() + 1), slotOf(token)});
    }
    if (!reader.isAtEnd()) return std::nullopt;
    return pieces;
}

std::vector<const Piece*> withoutMarks(const std::vector<Piece>& pieces) {
    std::vector<const Piece*> rest;
    for (const Piece& piece : pieces) {
        if (piece.slot != Slot::Mark) rest.push_back(&piece);
    }
    return rest;
}

// The marks and where they stand among the other tokens: a function that needs other ones than
// the function before it cannot just take its place.
std::vector<std::pair<std::size_t, std::uint8_t>> marksOf(const std::vector<Piece>& pieces) {
    std::vector<std::pair<std::size_t, std::uint8_t>> marks;
    std::size_t at = 0;
    for (const Piece& piece : pieces) {
        if (piece.slot == Slot::Mark)
            marks.emplace_back(at, static_cast<std::uint8_t>(piece.token.operands[0]));
        else
            ++at;
    }
    return marks;
}

bool fits(const Piece& a, const Piece& b) {
    if (a.slot != b.slot) return false;
    switch (a.slot) {
        case Slot::Other:
            return a.bytes == b.bytes;
        case Slot::Memory:
        case Slot::Reference:
            return a.token.id == b.token.id;
        default:
            return true;
    }
}

bool fit(const std::vector<const Piece*>& a, const std::vector<const Piece*>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!fits(*a[i], *b[i])) return false;
    }
    return true;
}

bool hasClass(const Piece& piece) {
    return piece.token.id >= kFirstClassId;
}

std::uint8_t classOf(const Piece& piece) {
    return static_cast<std::uint8_t>(piece.bytes[0]) & kClassBits;
}

// Class aside.
bool isSame(const Piece& a, const Piece& b) {
    return a.token.id == b.token.id && a.token.operands == b.token.operands;
}

bool isDistance(const Piece& piece) {
    return piece.token.id == token::kRefN || piece.token.id == token::kAreaN;
}

// One token of the result.
std::string merged(const Piece& stored, const Piece& before, const Piece& after) {
    // A shared formula's distances mean nothing in a formula of its own. The size that memory
    // tokens tell is put right later.
    if (!isDistance(stored) && (stored.slot == Slot::Memory || isSame(before, after))) {
        return std::string(stored.bytes);
    }
    std::string bytes(after.bytes);
    const bool keepsClass = hasClass(stored) && hasClass(before) && hasClass(after) &&
                            classOf(before) == classOf(after);
    if (keepsClass) {
        bytes[0] = static_cast<char>((static_cast<std::uint8_t>(bytes[0]) & ~kClassBits) |
                                     classOf(stored));
    }
    return bytes;
}

// Puts the distances of a result right that has tokens of other sizes than the stored ones.
class Distances {
public:
    Distances(std::string& out, std::size_t storedSize, Version version)
        : mOut(out),
          mOffsets(storedSize + 1, kNowhere),
          mWidth(version == Version::Biff2 ? 1 : 2) {}

    // Where a stored token has come to stand; the end is one too.
    void add(std::size_t stored, std::size_t now) { mOffsets[stored] = now; }

    bool correct(const Piece& piece) {
        const std::size_t end = piece.token.offset + piece.bytes.size();
        if (piece.slot == Slot::Memory) return correct(piece, end - mWidth, end, 0);
        if (piece.slot != Slot::Mark) return true;
        if (hasFlag(piece.token, attribute::kChoose)) {
            const std::size_t table = piece.token.offset + 2 + mWidth;
            for (std::size_t at = table; at < end; at += mWidth) {
                if (!correct(piece, at, table, 0)) return false;
            }
            return true;
        }
        if (hasFlag(piece.token, attribute::kIf)) return correct(piece, end - mWidth, end, 0);
        if (hasFlag(piece.token, attribute::kSkip)) return correct(piece, end - mWidth, end, 1);
        return true;
    }

private:
    // The distance at `at` counts from `origin` to `less` bytes before its target; all stored.
    bool correct(const Piece& piece, std::size_t at, std::size_t origin, std::size_t less) {
        const char* const stored = piece.bytes.data() + (at - piece.token.offset);
        const std::size_t distance = mWidth == 1 ? static_cast<std::uint8_t>(*stored)
                                                 : getLittleEndian<std::uint16_t>(stored);
        const std::size_t target = origin + distance + less;
        if (target >= mOffsets.size() || mOffsets[target] == kNowhere) return false;
        const std::size_t begin = mOffsets[piece.token.offset];
        const std::size_t nowOrigin = begin + (origin - piece.token.offset);
        const std::size_t now = mOffsets[target] - nowOrigin - less;
        if (now > (mWidth == 1 ? 0xFFU : 0xFFFFU)) return false;
        char* const place = mOut.data() + begin + (at - piece.token.offset);
        if (mWidth == 1)
            *place = static_cast<char>(now);
        else
            putLittleEndian(place, static_cast<std::uint16_t>(now));
        return true;
    }

    std::string& mOut;
    std::vector<std::size_t> mOffsets;
    std::size_t mWidth;
};

std::optional<std::string> mergedExtra(const FormulaTokens& stored,
                                       const FormulaTokens& oldCompiled,
                                       const FormulaTokens& newCompiled) {
    if (oldCompiled.extra == newCompiled.extra) return std::string(stored.extra);
    if (stored.extra == oldCompiled.extra) return std::string(newCompiled.extra);
    return std::nullopt;
}

}  // namespace

std::optional<CompiledFormula> patchTokens(const FormulaTokens& stored,
                                           const FormulaTokens& oldCompiled,
                                           const FormulaTokens& newCompiled, Version version) {
    const auto pieces = piecesOf(stored.tokens, version);
    const auto before = piecesOf(oldCompiled.tokens, version);
    const auto after = piecesOf(newCompiled.tokens, version);
    auto extra = mergedExtra(stored, oldCompiled, newCompiled);
    if (!pieces || !before || !after || !extra || marksOf(*before) != marksOf(*after)) {
        return std::nullopt;
    }
    const auto beforePieces = withoutMarks(*before);
    const auto afterPieces = withoutMarks(*after);
    if (!fit(withoutMarks(*pieces), beforePieces) || !fit(beforePieces, afterPieces)) {
        return std::nullopt;
    }
    CompiledFormula result{{}, std::move(*extra)};
    Distances distances(result.tokens, stored.tokens.size(), version);
    std::size_t at = 0;
    for (const Piece& piece : *pieces) {
        distances.add(piece.token.offset, result.tokens.size());
        if (piece.slot == Slot::Mark) {
            result.tokens += piece.bytes;
        } else {
            result.tokens += merged(piece, *beforePieces[at], *afterPieces[at]);
            ++at;
        }
    }
    distances.add(stored.tokens.size(), result.tokens.size());
    for (const Piece& piece : *pieces) {
        if (!distances.correct(piece)) return std::nullopt;
    }
    return result;
}

}  // namespace brindle::workbook::xls
