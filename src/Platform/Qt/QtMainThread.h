// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <memory>

namespace vello {

/// The main thread on Qt's event loop. It is the thread that constructs this object; a QCoreApplication must
/// exist and run on it. Pending actions are dropped on destruction. Other threads must have ended their calls
/// of post() by then. Delays are exact to a millisecond and never short.
class QtMainThread final : public MainThread {
public:
    QtMainThread();
    ~QtMainThread() override;
    QtMainThread(const QtMainThread&) = delete;
    QtMainThread& operator=(const QtMainThread&) = delete;

    Instant now() const override;
    void post(Action action) override;
    [[nodiscard]] TaskHandle after(Duration delay, Action action) override;

private:
    class Loop;

    std::unique_ptr<Loop> loop_;
};

} // namespace vello
