// SPDX-License-Identifier: MIT
// The hyperlinks of a worksheet's cells: the element in the sheet names a relationship that
// holds the address. Layout: ECMA-376 part 1, section 18.3.1.47.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/RelationshipPart.h"
#include "workbook/ooxml/Splices.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

class Hyperlinks {
public:
    // `frame` is the text of the sheet's frame, `relationships` those of the sheet; the latter are
    // borrowed.
    Hyperlinks(std::string_view frame, const std::vector<Relationship>& relationships);

    std::size_t count() const { return mLinks.size(); }
    // Empty for a link that leads to a place in the workbook, or nowhere.
    std::string address(std::size_t index) const;
    // Throws Error 1004 for a link without an address, and for one that cannot be stored.
    void setAddress(std::size_t index, std::string_view address);

    struct Changes {
        std::vector<Splice> sheet;  // places in the frame
        RelationshipChanges relationships;
    };
    bool isChanged() const;
    // A relationship whose links all change alike is changed itself. Otherwise the links that
    // change get another one. A link without an address left keeps its place in the workbook, or
    // goes.
    Changes changes() const;

private:
    struct Link {
        std::size_t begin = 0;  // of the element, in the frame
        std::size_t end = 0;
        std::size_t idBegin = 0;  // of the attribute that names the relationship
        std::size_t idEnd = 0;
        std::size_t idValueBegin = 0;
        std::size_t idValueEnd = 0;
        bool hasLocation = false;
        const Relationship* relationship = nullptr;  // external; null without an address
        std::string target;                          // as it will be

        bool isChanged() const { return relationship && relationship->target != target; }
    };
    using Addresses = std::map<std::string, const Relationship*>;
    class Ids;
    void addLink(package::XmlScanner& scanner, const Addresses& known);
    void change(const std::vector<const Link*>& users, Ids& ids, Changes& changes) const;
    void drop(const Link& link, Changes& changes) const;
    bool areAllGone() const;

    const std::vector<Relationship>& mRelationships;
    std::vector<Link> mLinks;
    std::size_t mBegin = 0;  // of the element around them
    std::size_t mEnd = 0;
};

}  // namespace brindle::workbook::ooxml
