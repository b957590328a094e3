// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/ConsentWatch.h"

#include "Platform/Linux/Consent/ConsentFile.h"
#include "Platform/Linux/System/FolderWatch.h"

#include <algorithm>
#include <array>
#include <poll.h>

namespace vello {
namespace {

using std::chrono::seconds;

constexpr seconds kLongestStart{2};
constexpr seconds kLongestPause{60};

} // namespace

ConsentWatch::ConsentWatch(ConsentPlaces places, std::function<void()> onChange)
    : places_(std::move(places)), onChange_(std::move(onChange)), thread_([this](int end) { watch(end); }) {
    firstAnswer_.get_future().wait_for(kLongestStart);
}

void ConsentWatch::watch(int end) {
    FolderWatch files(places_.file.parent_path(), [name = places_.file.filename().string()](
                                                      std::string_view each) { return each == name; });
    connect();
    isStoreMissing_ = store_ == nullptr;
    nextTry_.reset(); // where there is no bus, none is waited for
    publish();
    for (;;) {
        if (store_ && !store_->process())
            connectionLost();
        std::array<pollfd, 3> events{{{end, POLLIN, 0}, {files.descriptor(), POLLIN, 0}, {-1, 0, 0}}};
        if (store_)
            events[2] = {store_->descriptor(), store_->events(), 0};
        ::poll(events.data(), events.size(), pollTimeout());
        if (events[0].revents != 0)
            return;
        if (events[1].revents != 0 && files.takeChanges())
            publish();
        if (nextTry_ && PermissionStore::Clock::now() >= *nextTry_)
            connect();
    }
}

void ConsentWatch::connect() {
    nextTry_.reset();
    store_ = PermissionStore::connect(places_.busAddress);
    if (store_)
        store_->follow([this](PermissionStore::Answer answer) { storeAnswered(answer); });
    else
        connectionLost();
}

void ConsentWatch::connectionLost() {
    store_.reset();
    nextTry_ = PermissionStore::Clock::now() + pause_;
    pause_ = std::min(pause_ * 2, kLongestPause);
    isStoreMissing_ = true;
    publish();
}

void ConsentWatch::storeAnswered(PermissionStore::Answer answer) {
    pause_ = seconds(1);
    isStoreMissing_ = !answer;
    if (answer)
        stored_ = answer;
    publish();
}

/// The file counts only where the permission store has never been there.
void ConsentWatch::publish() {
    if (!stored_ && !isStoreMissing_)
        return;
    const Consent consent = stored_ ? *stored_ : ConsentFile(places_.file).read();
    if (consent_.exchange(consent) != consent)
        onChange_();
    if (!std::exchange(isSettled_, true))
        firstAnswer_.set_value();
}

/// In milliseconds, until something is due by itself; without end when nothing is.
int ConsentWatch::pollTimeout() const {
    std::optional<Instant> due = nextTry_;
    if (const auto deadline = store_ ? store_->deadline() : std::nullopt)
        due = due ? std::min(*due, *deadline) : *deadline;
    if (!due)
        return -1;
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(*due - PermissionStore::Clock::now());
    return static_cast<int>(std::max<std::int64_t>(rest.count(), 0));
}

} // namespace vello
