// SPDX-License-Identifier: MIT
#include "workbook/ooxml/Hyperlinks.h"

#include <algorithm>
#include <set>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/HyperlinkTarget.h"
#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

// Ids for new relationships.
class Hyperlinks::Ids {
public:
    explicit Ids(const std::vector<Relationship>& taken) {
        for (const Relationship& relationship : taken) {
            mTaken.insert(text::lowerAscii(relationship.id));
        }
    }
    std::string next() {
        std::string id;
        do {
            id = "rId" + std::to_string(++mNumber);
        } while (!mTaken.insert(text::lowerAscii(id)).second);
        return id;
    }

private:
    std::set<std::string> mTaken;
    std::size_t mNumber = 0;
};

namespace {

// Those that hold an address, by id; of two with one id the first counts.
std::map<std::string, const Relationship*> byId(const std::vector<Relationship>& all) {
    std::map<std::string, const Relationship*> found;
    for (const Relationship& relationship : all) {
        const bool isLink = relationship.isExternal && relationship.hasType(kHyperlinkType) &&
                            !relationship.target.empty();
        found.emplace(relationship.id, isLink ? &relationship : nullptr);
    }
    return found;
}

}  // namespace

Hyperlinks::Hyperlinks(std::string_view frame, const std::vector<Relationship>& relationships)
    : mRelationships(relationships) {
    const Addresses known = byId(relationships);
    bool isInside = false;
    XmlScanner scanner(frame);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement && token != XmlToken::EndElement) continue;
        if (!isMainNamespace(scanner.namespaceUri())) continue;
        if (scanner.depth() == 2 && scanner.localName() == "hyperlinks") {
            isInside = token == XmlToken::StartElement;
            if (isInside) mBegin = scanner.begin();
            mEnd = scanner.end();
            if (!isInside) break;
        }
        const bool isLink = isInside && token == XmlToken::StartElement && scanner.depth() == 3 &&
                            scanner.localName() == "hyperlink";
        if (isLink) addLink(scanner, known);
    }
}

void Hyperlinks::addLink(XmlScanner& scanner, const Addresses& known) {
    Link link;
    link.begin = scanner.begin();
    const auto* location = scanner.attribute("location");
    link.hasLocation = location && !location->rawValue.empty();
    if (const auto* id = relationshipAttribute(scanner)) {
        link.idBegin = id->begin;
        link.idEnd = id->end;
        link.idValueBegin = id->valueBegin;
        link.idValueEnd = id->valueEnd;
        const auto named = known.find(package::xmlAttributeText(id->rawValue));
        if (named != known.end()) link.relationship = named->second;
    }
    if (link.relationship) link.target = link.relationship->target;
    scanner.skipElement();
    link.end = scanner.end();
    mLinks.push_back(std::move(link));
}

std::string Hyperlinks::address(std::size_t index) const {
    return shownAddress(mLinks.at(index).target);
}

void Hyperlinks::setAddress(std::size_t index, std::string_view address) {
    Link& link = mLinks.at(index);
    if (!link.relationship) {
        throw Error::refused("The link leads to a place in the workbook and has no address");
    }
    const std::string& stored = link.relationship->target;
    std::string target = address == shownAddress(stored)
                             ? stored  // back to what it was, spelling and all
                             : targetForAddress(link.target, address, link.hasLocation);
    package::xmlAttributeEscaped(target);  // refuses what the part cannot hold
    link.target = std::move(target);
}

bool Hyperlinks::isChanged() const {
    return std::any_of(mLinks.begin(), mLinks.end(),
                       [](const Link& link) { return link.isChanged(); });
}

bool Hyperlinks::areAllGone() const {
    return std::all_of(mLinks.begin(), mLinks.end(), [](const Link& link) {
        return link.isChanged() && link.target.empty() && !link.hasLocation;
    });
}

void Hyperlinks::drop(const Link& link, Changes& changes) const {
    if (link.hasLocation) {
        changes.sheet.push_back({link.idBegin - 1, link.idEnd, {}});  // and the blank in front
    } else {
        changes.sheet.push_back({link.begin, link.end, {}});
    }
}

void Hyperlinks::change(const std::vector<const Link*>& users, Ids& ids, Changes& changes) const {
    const std::string& oldId = users.front()->relationship->id;
    bool isTaken = std::any_of(users.begin(), users.end(),
                               [](const Link* link) { return !link->isChanged(); });
    std::map<std::string, std::string> idOf;  // by target
    for (const Link* link : users) {
        if (!link->isChanged()) continue;
        if (link->target.empty()) {
            drop(*link, changes);
            continue;
        }
        const auto [known, isNew] = idOf.try_emplace(link->target);
        if (isNew && !isTaken) {
            isTaken = true;
            known->second = oldId;
            changes.relationships.targets[oldId] = link->target;
        } else if (isNew) {
            known->second = ids.next();
            changes.relationships.added[oldId].push_back({known->second, link->target});
        }
        if (known->second != oldId) {
            changes.sheet.push_back({link->idValueBegin, link->idValueEnd, known->second});
        }
    }
    if (!isTaken) changes.relationships.removed.insert(oldId);
}

Hyperlinks::Changes Hyperlinks::changes() const {
    Changes changes;
    std::map<const Relationship*, std::vector<const Link*>> users;
    for (const Link& link : mLinks) {
        if (link.relationship) users[link.relationship].push_back(&link);
    }
    Ids ids(mRelationships);
    for (const auto& [relationship, links] : users) {
        const bool isAnyChanged = std::any_of(links.begin(), links.end(),
                                              [](const Link* link) { return link->isChanged(); });
        if (isAnyChanged) change(links, ids, changes);
    }
    // The element may not be empty.
    if (areAllGone() && !mLinks.empty()) changes.sheet = {{mBegin, mEnd, {}}};
    return changes;
}

}  // namespace brindle::workbook::ooxml
