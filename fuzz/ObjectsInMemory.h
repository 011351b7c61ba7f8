// SPDX-License-Identifier: MIT
// A workbook with drawings and document properties around fuzzed parts, and the check that
// their fuzzers share.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Text.h"
#include "WorkbookInMemory.h"

namespace brindle::fuzz {

struct ObjectParts {
    std::string_view drawing;
    std::string_view vmlDrawing;
    std::string_view core;
    std::string_view extended;
    std::string_view custom;
};

inline std::string workbookWith(const ObjectParts& parts) {
    const std::string& ns = kNamespace;
    StoredArchive archive;
    archive.add("_rels/.rels", kRelationships + relationship("officeDocument", "w.xml") +
                                   relationship("core-properties", "c.xml") +
                                   relationship("extended-properties", "e.xml") +
                                   relationship("custom-properties", "u.xml") + "</Relationships>");
    archive.add("_rels/w.xml.rels",
                kRelationships + relationship("worksheet", "s.xml") + "</Relationships>");
    archive.add("_rels/s.xml.rels", kRelationships + relationship("drawing", "d.xml") +
                                        relationship("vmlDrawing", "v.vml") + "</Relationships>");
    archive.add("w.xml", workbookPart());
    archive.add("s.xml", "<worksheet xmlns=" + ns + " xmlns:r=\"" + kOffice +
                             "\"><sheetData/><drawing r:id=\"adrawing\"/><legacyDrawing "
                             "r:id=\"avmlDrawing\"/></worksheet>");
    archive.add("d.xml", parts.drawing);
    archive.add("v.vml", parts.vmlDrawing);
    archive.add("c.xml", parts.core);
    archive.add("e.xml", parts.extended);
    archive.add("u.xml", parts.custom);
    return archive.finished();
}

// One way to see and change the texts of all objects of a kind.
class Objects {
public:
    enum class Kind { Shapes, BuiltIn, Custom };
    Objects(workbook::Document& document, Kind kind) : mDocument(document), mKind(kind) {}

    std::size_t count() {
        return mKind == Kind::Shapes ? mDocument.worksheet(0).shapeCount()
                                     : mDocument.propertyCount(mKind == Kind::Custom);
    }
    // Nothing when there is no value.
    std::optional<std::string> text(std::size_t index) {
        if (mKind == Kind::Shapes) return mDocument.worksheet(0).shapeText(index);
        try {
            return mDocument.propertyText(mKind == Kind::Custom, index);
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::NotFound) throw;
            return std::nullopt;
        }
    }
    // Whether the text was taken.
    bool setText(std::size_t index, const std::string& text) {
        try {
            if (mKind == Kind::Shapes) {
                mDocument.worksheet(0).setShapeText(index, text);
            } else {
                mDocument.setPropertyText(mKind == Kind::Custom, index, text);
            }
            return true;
        } catch (const Error& error) {
            require(error.kind() == ErrorKind::Refused);
            return false;
        }
    }
    auto texts() {
        std::vector<std::optional<std::string>> texts;
        for (std::size_t i = 0; i < count(); ++i) texts.push_back(text(i));
        return texts;
    }

private:
    workbook::Document& mDocument;
    Kind mKind;
};

using Texts = std::vector<std::optional<std::string>>;

// The texts with blanks as they count in a legacy drawing, and without empty ones.
inline Texts squeezed(const Texts& texts) {
    Texts result;
    for (const auto& text : texts) {
        std::string out;
        for (const char c : text.value_or("")) {
            const bool isBlank = c == ' ' || c == '\t' || c == '\r';
            if (isBlank && (out.empty() || out.back() == ' ' || out.back() == '\n')) continue;
            if (c == '\n' && !out.empty() && out.back() == ' ') out.pop_back();
            out += isBlank ? ' ' : c;
        }
        if (!out.empty() && out.back() == ' ') out.pop_back();
        if (out.find_first_not_of('\n') != std::string::npos) result.push_back(out);
    }
    return result;
}

// A text that is set is what is read, before saving and after; a refused one changes nothing.
inline void checkObjects(const std::string& bytes, const std::vector<Objects::Kind>& kinds,
                         bool isLegacy = false) {
    const MemoryFile file(bytes);
    const char* const replacements[][2] = {{"a", "q"}, {"e", "q & r"}, {"n\nb", "q"}, {"t", "\n"}};
    std::vector<Texts> left;
    bool isSaved = false;
    try {
        const auto document = workbook::openDocument(file.path(), {});
        for (const Objects::Kind kind : kinds) {
            Objects objects(*document, kind);
            const std::size_t count = objects.count();
            for (std::size_t i = 0; i < count; ++i) {
                for (const auto& [what, with] : replacements) {
                    const auto before = objects.text(i);
                    if (!before) continue;
                    const std::string after =
                        text::replaceAll(*before, what, with, CaseMode::Exact);
                    const bool isTaken = objects.setText(i, after);
                    // A date shows in its own form whatever was typed.
                    if (kind == Objects::Kind::BuiltIn && i >= 9 && i <= 11) continue;
                    require(objects.text(i) == (isTaken ? after : *before));
                }
            }
            require(objects.count() == count);
            left.push_back(objects.texts());
        }
        document->save();
        isSaved = true;
    } catch (const Error& error) {
        require(error.kind() != ErrorKind::Internal);
        require(readWholeFile(file.path()) == bytes);
    }
    if (!isSaved) return;
    const auto document = workbook::openDocument(file.path(), {});
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const Texts now = Objects(*document, kinds[i]).texts();
        require(isLegacy ? squeezed(now) == squeezed(left[i]) : now == left[i]);
    }
}

}  // namespace brindle::fuzz
