// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/ConsentWatch.h"

#include "BusConnection.h"
#include "Platform/Linux/Consent/ConsentFile.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace vello {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kLongestStart{2};
constexpr seconds kShortestPause{1};
constexpr seconds kLongestPause{60};

} // namespace

ConsentWatch::ConsentWatch(ConsentPlaces places, std::function<void()> onChange)
    : places_(std::move(places)), onChange_(std::move(onChange)),
      files_(places_.file.parent_path(),
             [name = places_.file.filename().string()](std::string_view each) { return each == name; }),
      pause_(kShortestPause) {
    if (files_.descriptor() >= 0) {
        fileNotifier_.emplace(files_.descriptor(), QSocketNotifier::Read);
        connect(&*fileNotifier_, &QSocketNotifier::activated, this, [this] {
            if (files_.takeChanges())
                publish();
        });
    }
    retry_.setSingleShot(true);
    connect(&retry_, &QTimer::timeout, this, &ConsentWatch::beginToConnect);
    awaitFirstAnswer();
}

ConsentWatch::~ConsentWatch() = default;

void ConsentWatch::awaitFirstAnswer() {
    const auto deadline = std::chrono::steady_clock::now() + kLongestStart;
    if (beginToConnect().wait_until(deadline) != std::future_status::ready)
        return;
    connected();
    if (!store_)
        return;
    try {
        storeAnswered(
            store_->lookUp(std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now())));
    } catch (const std::exception&) {
        // The answer is followed: it comes once the store gives it.
    }
}

/// The result is ready when the attempt is over.
std::future<void> ConsentWatch::beginToConnect() {
    std::promise<void> over;
    std::future<void> result = over.get_future();
    connecting_ = std::jthread([this, over = std::move(over)]() mutable {
        connection_ = std::make_unique<BusConnection>(places_.busAddress);
        over.set_value();
        QMetaObject::invokeMethod(this, &ConsentWatch::connected, Qt::QueuedConnection);
    });
    return result;
}

void ConsentWatch::connected() {
    if (!connecting_.joinable())
        return; // known already
    connecting_.join();
    if (!connection_->isOpen())
        return couldNotConnect();
    QDBusConnection(connection_->bus())
        .connect({}, "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", this,
                 SLOT(busIsGone()));
    store_ = std::make_unique<PermissionStore>(connection_->bus());
    store_->follow([this](PermissionStore::Answer answer) { storeAnswered(answer); });
}

/// A session that has no bus at the start gets none later. One that was silent or has gone may come.
void ConsentWatch::couldNotConnect() {
    const bool mayCome = connection_->isBusSilent() || hadBus_;
    if (!connection_->isBusSilent())
        storeIsMissing();
    if (mayCome)
        tryAgainLater();
}

void ConsentWatch::busIsGone() {
    hadBus_ = true;
    store_.reset();
    connection_.reset();
    storeIsMissing();
    tryAgainLater();
}

void ConsentWatch::tryAgainLater() {
    retry_.start(pause_);
    pause_ = std::min(pause_ * 2, kLongestPause);
}

void ConsentWatch::storeAnswered(PermissionStore::Answer answer) {
    pause_ = kShortestPause;
    if (!answer)
        return storeIsMissing();
    isStoreMissing_ = false;
    stored_ = answer;
    publish();
}

void ConsentWatch::storeIsMissing() {
    isStoreMissing_ = true;
    publish();
}

/// The file counts only where the permission store has never been there.
void ConsentWatch::publish() {
    if (!stored_ && !isStoreMissing_)
        return;
    const Consent consent = stored_ ? *stored_ : ConsentFile(places_.file).read();
    if (std::exchange(consent_, consent) != consent)
        onChange_();
}

void ConsentWatch::read(std::function<void(Consent consent)> onRead) {
    const auto readFile = [this] { return ConsentFile(places_.file).read(); };
    if (!store_ || isStoreMissing_)
        return onRead(readFile());
    store_->read([readFile, onRead = std::move(onRead)](PermissionStore::Answer answer) {
        onRead(answer ? *answer : readFile());
    });
}

} // namespace vello
