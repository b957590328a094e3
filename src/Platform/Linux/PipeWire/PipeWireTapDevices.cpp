// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapDevices.h"

#include "PipeWireConnection.h"
#include "PipeWireGraph.h"

#include <algorithm>
#include <ranges>
#include <string_view>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// How many pairs the session manager works on at once. With dozens at once it repeats each link while the
/// first attempt is in progress, and gives up the node after five attempts (WirePlumber 0.4).
constexpr int kPairsAtOnce = 16;
constexpr std::size_t kLongestNodeName = 64;

/// A valid node name for every parser of the session manager. Names come from untrusted sources.
std::string nodeName(std::string_view name) {
    std::string safe;
    for (const char character : name.substr(0, kLongestNodeName)) {
        const bool isSafe = (character >= 'a' && character <= 'z') ||
                            (character >= 'A' && character <= 'Z') ||
                            (character >= '0' && character <= '9') || character == '-' || character == '_';
        safe += isSafe ? character : '_';
    }
    return safe;
}

} // namespace

PipeWireTapDevices::PipeWireTapDevices(PipeWireConnection& connection,
                                       const PipeWireTapDevice::Context& context)
    : connection_(connection), context_(context),
      turnTimer_(connection.loop(), [this] { makeWaitingPairs(); }),
      retryTimer_(connection.loop(), [this] { retryRefused(); }), leftovers_(context.graph),
      spare_(connection, context, leftovers_,
             [this](const std::string& deviceName) { return freeCaptureName(deviceName); }) {}

void PipeWireTapDevices::add(AudioObjectID id, const AggregateDeviceDescription& description,
                             AudioObjectID tap, const ProcessTap& tapped) {
    PipeWireTapDevice& device =
        devices_.try_emplace(id, context_, id, description, tap, tapped).first->second;
    if (PipeWireTapDevice* predecessor = find(description.predecessor))
        device.adoptPair(*predecessor, sampleRateChangedOf(id));
    makeWaitingPairs();
}

bool PipeWireTapDevices::remove(AudioObjectID id) {
    const auto entry = devices_.find(id);
    if (entry == devices_.end())
        return false;
    entry->second.release();
    leaveOver(entry->second, entry->second.wasLinkedOut());
    devices_.erase(entry);
    makeWaitingPairs();
    startRetryTimer();
    return true;
}

void PipeWireTapDevices::clear() {
    spare_.clear();
    leftovers_.clear();
    devices_.clear();
}

PipeWireTapDevice* PipeWireTapDevices::find(AudioObjectID id) {
    const auto entry = devices_.find(id);
    return entry != devices_.end() ? &entry->second : nullptr;
}

const PipeWireTapDevice* PipeWireTapDevices::find(AudioObjectID id) const {
    const auto entry = devices_.find(id);
    return entry != devices_.end() ? &entry->second : nullptr;
}

const PipeWireTapDevice* PipeWireTapDevices::ofTap(AudioObjectID tap) const {
    const auto devices = std::views::values(devices_);
    const auto found = std::ranges::find(devices, tap, &PipeWireTapDevice::tap);
    return found != devices.end() ? &*found : nullptr;
}

void PipeWireTapDevices::stop(PipeWireTapDevice& device) {
    if (PipeWireTapDevice* adopter = find(device.adopter());
        adopter != nullptr && adopter->startedProc() == 0)
        adopter->silencePair();
    device.stop();
}

bool PipeWireTapDevices::isHandedOver(const PipeWireTapDevice& device) const {
    if (device.adopter() != 0) {
        const PipeWireTapDevice* adopter = find(device.adopter());
        return adopter == nullptr || adopter->startedProc() != 0;
    }
    const auto hasTakenOver = [&](const PipeWireTapDevice& other) {
        return other.isSuccessorOf(device) && other.isDirected() && other.hasItsStreams();
    };
    return !device.hasStreams() && !device.isLinkedInto() &&
           std::ranges::any_of(std::views::values(devices_), hasTakenOver);
}

void PipeWireTapDevices::setKeepsSpare(bool keepsSpare) {
    spare_.setWanted(keepsSpare);
    startRetryTimer();
}

void PipeWireTapDevices::latencyChanged(AudioObjectID process) {
    for (PipeWireTapDevice& device : std::views::values(devices_))
        if (device.captures(process))
            device.latencyChanged();
}

void PipeWireTapDevices::streamsChanged() {
    for (PipeWireTapDevice& device : std::views::values(devices_))
        device.restWithoutStreams();
}

void PipeWireTapDevices::linksChanged() {
    for (PipeWireTapDevice& device : std::views::values(devices_))
        device.linksChanged();
    leftovers_.drop();
    spare_.linksChanged();
    makeWaitingPairs();
    startRetryTimer();
}

// Pairs

void PipeWireTapDevices::makeWaitingPairs() {
    auto workedOn = std::ranges::count_if(std::views::values(devices_), &PipeWireTapDevice::isWorkedOn);
    for (auto& [id, device] : devices_) {
        if (device.isProvided())
            continue;
        if (connection_.nodeCore() == nullptr)
            return;
        // The next pairs follow when one of these is linked, or when their time is over.
        if (workedOn >= kPairsAtOnce)
            return turnTimer_.start(PipeWireTapDevice::workPatience + 1ms);
        makePair(id, device);
        ++workedOn;
    }
}

void PipeWireTapDevices::makePair(AudioObjectID id, PipeWireTapDevice& device) {
    if (auto spare = spare_.take(device.channels()))
        device.useSparePair(std::move(spare), sampleRateChangedOf(id));
    else
        device.makePair(connection_.nodeCore(), freeCaptureName(device.description().name),
                        sampleRateChangedOf(id));
    startRetryTimer();
}

std::function<void()> PipeWireTapDevices::sampleRateChangedOf(AudioObjectID id) {
    return [this, id] {
        // The device of a leftover pair is gone, or has a newer pair.
        if (PipeWireTapDevice* current = find(id))
            current->sampleRateChanged();
    };
}

std::string PipeWireTapDevices::freeCaptureName(const std::string& deviceName) const {
    // During a rebuild the old and the new capture exist side by side. Using the lowest free number keeps the
    // names few and the same in every run.
    for (int number = 1;; ++number) {
        std::string name = nodeName(deviceName) + "." + std::to_string(number);
        const auto hasName = [&](const PipeWireTapDevice& device) { return device.captureName() == name; };
        if (std::ranges::none_of(std::views::values(devices_), hasName) && !leftovers_.hasCapture(name) &&
            !spare_.hasCapture(name))
            return name;
    }
}

void PipeWireTapDevices::leaveOver(PipeWireTapDevice& device, bool wasLinked) {
    if (device.hasPair())
        leftovers_.add(device.takePair(), device.workGivenAt(), wasLinked);
}

void PipeWireTapDevices::retryRefused() {
    const auto now = MainThread::Clock::now();
    const bool areMany = areManyUnlinked();
    leftovers_.drop();
    for (auto& [id, device] : devices_) {
        if (!device.isRefused() || now < retryDueAt(device, areMany))
            continue;
        if (device.retry().isGivenUp())
            retry(device);
        else
            device.giveUp(now);
    }
    makeWaitingPairs();
    startRetryTimer();
}

void PipeWireTapDevices::retry(PipeWireTapDevice& device) {
    leaveOver(device, false);
    device.retried();
}

MainThread::Instant PipeWireTapDevices::retryDueAt(const PipeWireTapDevice& device, bool isOneOfMany) const {
    return device.retry().dueAt(std::max(context_.graph.links().changedAt(), device.workGivenAt()),
                                isOneOfMany);
}

bool PipeWireTapDevices::areManyUnlinked() const {
    return std::ranges::count(std::views::values(devices_), false, &PipeWireTapDevice::isLinkedOut) > 1;
}

void PipeWireTapDevices::startRetryTimer() {
    auto next = leftovers_.nextDropAt();
    const bool areMany = areManyUnlinked();
    for (const PipeWireTapDevice& device : std::views::values(devices_))
        if (device.isRefused()) {
            const auto due = retryDueAt(device, areMany);
            next = std::min(next.value_or(due), due);
        }
    if (next)
        retryTimer_.start(std::max(*next - MainThread::Clock::now(), MainThread::Duration(1ms)));
}

} // namespace vello
