// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

namespace vello {

// Each part of the mirror keeps its objects in a map of entries, by the server's ID. The member `object` of
// an entry is the value that readers get.

template <class Entries> using ObjectOf = decltype(Entries::mapped_type::element_type::object);

/// The first object that matches; null when no object matches.
template <class Entries, class Predicate>
const ObjectOf<Entries>* objectWhere(const Entries& entries, Predicate matches) {
    const auto found =
        std::ranges::find_if(entries, [&](const auto& item) { return matches(item.second->object); });
    return found == entries.end() ? nullptr : &found->second->object;
}

/// The objects that match, in order of appearance.
template <class Entries, class Predicate>
std::vector<const ObjectOf<Entries>*> objectsWhere(const Entries& entries, Predicate matches) {
    std::vector<const ObjectOf<Entries>*> found;
    for (const auto& [id, entry] : entries)
        if (matches(std::as_const(entry->object)))
            found.push_back(&entry->object);
    std::ranges::sort(found, {}, &ObjectOf<Entries>::objectID);
    return found;
}

/// The object with that server's ID; null when there is none.
template <class Entries, class ID> const ObjectOf<Entries>* objectWithID(const Entries& entries, ID id) {
    const auto found = entries.find(id);
    return found == entries.end() ? nullptr : &found->second->object;
}

} // namespace vello
