// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace vello {

/// Makes writes fail beyond a file size of `bytes`, like a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit before_{};
    sighandler_t handler_;
};

} // namespace vello
