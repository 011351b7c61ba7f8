// SPDX-License-Identifier: MIT
#include "workbook/ooxml/WorkbookPart.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

#include "base/Error.h"
#include "crypto/Base64.h"
#include "crypto/PasswordHash.h"
#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/package/XmlScanner.h"
#include "workbook/Passwords.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

// Changes to one of them would be lost under those to the other.
void checkDistinctParts(const WorkbookPart& workbook) {
    std::set<std::string> parts;
    for (const SheetEntry& sheet : workbook.sheets) {
        if (sheet.partName.empty()) continue;
        if (!parts.insert(package::normalisedMemberName(sheet.partName)).second) {
            throw Error::damaged("Two sheets of the workbook are the same part");
        }
    }
}

Error notAWorkbook(const char* what) {
    return {ErrorKind::Unsupported, error_number::kApplicationDefined, what};
}

int toInt(const std::string& text) {
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::uint32_t toRounds(const std::string& text) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

// What a formula shows for another workbook: a local path without the URI's clothes.
std::string shownBookPath(std::string target) {
    if (target.starts_with("file:///")) target = target.substr(8);
    if (target.find("://") == std::string::npos) {
        std::replace(target.begin(), target.end(), '/', '\\');
    }
    std::string out;
    for (std::size_t i = 0; i < target.size(); ++i) {
        if (target.compare(i, 3, "%20") == 0) {
            out += ' ';
            i += 2;
        } else {
            out += target[i];
        }
    }
    return out;
}

std::string externalBook(const Package& package, const std::string& workbookPart,
                         const std::string& id) {
    const Relationship* link = package.relationshipById(workbookPart, id);
    if (!link || link->isExternal || !package.hasPart(link->partName)) return {};
    for (const Relationship& target : package.relationships(link->partName)) {
        if (target.isExternal) return shownBookPath(target.target);
    }
    return {};
}

SheetEntry sheetEntry(const Package& package, const WorkbookPart& workbook,
                      const XmlScanner& scanner) {
    SheetEntry sheet;
    sheet.name = attributeText(scanner, "name");
    sheet.sheetId = toInt(attributeText(scanner, "sheetId"));
    const Relationship* relationship =
        package.relationshipById(workbook.partName, relationshipId(scanner));
    if (relationship && !relationship->isExternal) {
        sheet.partName = relationship->partName;
        sheet.isWorksheet = relationship->hasType(kWorksheetType);
    }
    return sheet;
}

void readElement(const Package& package, const XmlScanner& scanner, WorkbookPart& workbook) {
    const std::string_view name = scanner.localName();
    if (name == "sheet") {
        workbook.sheets.push_back(sheetEntry(package, workbook, scanner));
    } else if (name == "workbookPr") {
        workbook.date1904 = isTrue(scanner, "date1904");
    } else if (name == "fileSharing") {
        workbook.reservation = {
            attributeText(scanner, "reservationPassword"), attributeText(scanner, "algorithmName"),
            attributeText(scanner, "hashValue"), attributeText(scanner, "saltValue"),
            toRounds(attributeText(scanner, "spinCount"))};
    } else if (name == "workbookView" && workbook.activeTab == 0) {
        workbook.activeTab =
            static_cast<std::size_t>(std::max(0, toInt(attributeText(scanner, "activeTab"))));
    } else if (name == "externalReference") {
        workbook.externalBooks.push_back(
            externalBook(package, workbook.partName, relationshipId(scanner)));
    }
}

// Elements that stand behind calcPr in the main part.
constexpr std::array<std::string_view, 9> kBehindCalcPr = {
    "oleSize",       "customWorkbookViews", "pivotCaches",       "smartTagPr", "smartTagTypes",
    "webPublishing", "fileRecoveryPr",      "webPublishObjects", "extLst"};

std::string withAttribute(std::string_view text, const XmlScanner& scanner) {
    const auto* known = scanner.attribute("fullCalcOnLoad");
    if (known) {
        return std::string(text.substr(0, known->valueBegin)) + "1" +
               std::string(text.substr(known->valueEnd));
    }
    const std::size_t at = scanner.begin() + 1 + scanner.qualifiedName().size();
    return std::string(text.substr(0, at)) + " fullCalcOnLoad=\"1\"" + std::string(text.substr(at));
}

}  // namespace

bool WriteReservation::allows(const std::string& password, const std::string& codePage) const {
    if (!hashValue.empty()) {
        const auto hash = crypto::hashByName(algorithm);
        const auto salt = crypto::fromBase64(saltValue);
        const auto value = crypto::fromBase64(hashValue);
        if (!hash || !salt || !value || rounds > crypto::kMostRounds) return false;
        return crypto::isSame(crypto::saltedPasswordHash(*hash, *salt, password, rounds), *value);
    }
    std::uint16_t hash = 0;
    const char* const end = shortHash.data() + shortHash.size();
    const auto [parsed, error] = std::from_chars(shortHash.data(), end, hash, 16);
    if (!shortHash.empty() && (error != std::errc() || parsed != end)) return false;
    return liftsReservation(hash, password, codePage);
}

WorkbookPart readWorkbookPart(const Package& package) {
    WorkbookPart workbook;
    const Relationship* main = package.relationshipByType("", kOfficeDocumentType);
    if (!main || !package.hasPart(main->partName)) {
        throw notAWorkbook("The file is not in a recognizable format: no workbook inside");
    }
    if (package::normalisedMemberName(main->partName).ends_with(".bin")) {
        throw notAWorkbook("The file is not in a recognizable format: a binary workbook");
    }
    workbook.partName = main->partName;
    workbook.isSigned = package.relationshipByType("", kSignatureOriginType) != nullptr;
    const PartText text = package.read(workbook.partName);
    try {
        XmlScanner scanner(text.view());
        for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput;
             token = scanner.next()) {
            if (token != XmlToken::StartElement) continue;
            if (scanner.depth() == 1 &&
                (scanner.localName() != "workbook" || !isMainNamespace(scanner.namespaceUri()))) {
                throw notAWorkbook("The file is not in a recognizable format: not a workbook");
            }
            if (isMainNamespace(scanner.namespaceUri())) readElement(package, scanner, workbook);
        }
        checkDistinctParts(workbook);
    } catch (Error& error) {
        throw error.inMember(workbook.partName);
    }
    return workbook;
}

std::string withFullCalculation(std::string_view text) {
    XmlScanner scanner(text);
    std::string prefix;
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token == XmlToken::StartElement && scanner.depth() == 1) {
            const std::string_view qualified = scanner.qualifiedName();
            prefix = qualified.substr(0, qualified.size() - scanner.localName().size());
        }
        if (scanner.depth() == 2 && token == XmlToken::StartElement) {
            if (scanner.localName() == "calcPr") return withAttribute(text, scanner);
            const bool behind = std::find(kBehindCalcPr.begin(), kBehindCalcPr.end(),
                                          scanner.localName()) != kBehindCalcPr.end();
            if (behind) break;
        }
        if (token == XmlToken::EndElement && scanner.depth() == 1) break;
    }
    return std::string(text.substr(0, scanner.begin())) + "<" + prefix +
           "calcPr fullCalcOnLoad=\"1\"/>" + std::string(text.substr(scanner.begin()));
}

}  // namespace brindle::workbook::ooxml
