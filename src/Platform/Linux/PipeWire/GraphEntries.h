// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireBinding.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace vello {

// Each part of the mirror keeps its objects in a map of entries, by the server's ID. The member `object` of
// an entry is the value that readers get.

template <class Entries> using ObjectOf = decltype(Entries::mapped_type::element_type::object);

/// Listens to the node that the entry is bound to, with the entry's onInfo and onParameter, and subscribes to
/// these parameters.
template <class Entry> void listenToNode(Entry& entry, std::vector<std::uint32_t> parameters) {
    static const pw_node_events events = [] {
        pw_node_events table{};
        table.version = PW_VERSION_NODE_EVENTS;
        table.info = Entry::onInfo;
        table.param = Entry::onParameter;
        return table;
    }();
    auto* node = entry.binding.template as<pw_node>();
    vello_node_add_listener(node, entry.binding.hook(), &events, &entry);
    vello_node_subscribe_parameters(node, parameters.data(), static_cast<std::uint32_t>(parameters.size()));
}

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
