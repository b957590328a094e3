// SPDX-License-Identifier: Apache-2.0
#include "Control/Diagnosis/SoundPath.h"

#include "Foundation/Product.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace vello {
namespace {

/// The nodes that continue the sound of `node`: what it is linked to, and the other end of its filter.
std::vector<const AudioNodeFacts*> onward(const AudioServerFacts& server, const AudioNodeFacts& node) {
    std::vector<const AudioNodeFacts*> next = destinations(server, node);
    for (const AudioNodeFacts& other : server.nodes)
        if (!node.linkGroup.empty() && other.linkGroup == node.linkGroup && other.id != node.id)
            next.push_back(&other);
    return next;
}

/// Whether the sound that a device receives comes out of another one.
bool isSentOn(const AudioServerFacts& server, const AudioNodeFacts& device) {
    std::set<std::uint32_t> seen{device.id};
    std::vector<const AudioNodeFacts*> open = onward(server, device);
    while (!open.empty()) {
        const AudioNodeFacts* node = open.back();
        open.pop_back();
        if (!seen.insert(node->id).second)
            continue;
        if (isDevice(*node))
            return true;
        for (const AudioNodeFacts* next : onward(server, *node))
            open.push_back(next);
    }
    return false;
}

/// Whether sound goes into this device, or would as soon as an application plays.
bool isInUse(const AudioServerFacts& server, const AudioNodeFacts& device) {
    if (device.name == server.defaultOutput)
        return true;
    return std::ranges::any_of(server.links, [&](const AudioLinkFacts& link) {
        const AudioNodeFacts* from = nodeWithID(server, link.from);
        return link.to == device.id && from != nullptr && (isApplicationStream(*from) || isOfVello(*from));
    });
}

} // namespace

const AudioNodeFacts* nodeWithID(const AudioServerFacts& server, std::uint32_t id) {
    const auto found = std::ranges::find(server.nodes, id, &AudioNodeFacts::id);
    return found == server.nodes.end() ? nullptr : &*found;
}

const AudioClientFacts* clientOf(const AudioServerFacts& server, const AudioNodeFacts& node) {
    const auto found = std::ranges::find(server.clients, node.client, &AudioClientFacts::id);
    return !node.client || found == server.clients.end() ? nullptr : &*found;
}

bool isDevice(const AudioNodeFacts& node) {
    return node.mediaClass == "Audio/Sink" || node.mediaClass == "Audio/Duplex";
}

bool isApplicationStream(const AudioNodeFacts& node) {
    return node.mediaClass == "Stream/Output/Audio" && node.linkGroup.empty();
}

bool isOfVello(const AudioNodeFacts& node) {
    return node.name.starts_with(kTapNamePrefix);
}

std::vector<const AudioNodeFacts*> destinations(const AudioServerFacts& server, const AudioNodeFacts& node) {
    std::vector<const AudioNodeFacts*> found;
    for (const AudioLinkFacts& link : server.links)
        if (const AudioNodeFacts* to = link.from == node.id ? nodeWithID(server, link.to) : nullptr)
            if (std::ranges::find(found, to) == found.end())
                found.push_back(to);
    return found;
}

std::vector<const AudioNodeFacts*> filtersInUse(const AudioServerFacts& server) {
    std::vector<const AudioNodeFacts*> found;
    for (const AudioNodeFacts& node : server.nodes)
        if (isDevice(node) && isInUse(server, node) && isSentOn(server, node))
            found.push_back(&node);
    return found;
}

std::vector<const AudioClientFacts*> instances(const AudioServerFacts& server) {
    const auto equalizes = [](const AudioClientFacts& client) {
        return client.binary == "vello" || client.binary == "vello-panel";
    };
    std::vector<const AudioClientFacts*> found;
    std::set<std::int32_t> processes;
    for (const AudioClientFacts& client : server.clients)
        if (equalizes(client) && client.pid && processes.insert(*client.pid).second)
            found.push_back(&client);
    return found;
}

} // namespace vello
