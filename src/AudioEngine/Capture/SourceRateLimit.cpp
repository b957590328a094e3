// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/SourceRateLimit.h"

#include <utility>

namespace vello {

SourceRateLimit::SourceRateLimit(MainThread& mainThread, MainThread::Duration period, Action action)
    : mainThread_(mainThread), period_(period), action_(std::move(action)) {}

void SourceRateLimit::request(const std::string& sourceID) {
    const auto now = mainThread_.now();
    std::erase_if(sources_,
                  [now](const auto& entry) { return entry.second.nextRun <= now && !entry.second.waiting; });
    const auto source = sources_.find(sourceID);
    if (source == sources_.end())
        return run(sourceID);
    if (!source->second.waiting)
        source->second.waiting =
            mainThread_.after(source->second.nextRun - now, [this, id = sourceID] { run(id); });
}

/// Copies the id, because replacing the entry destroys the task that may own it.
void SourceRateLimit::run(const std::string& sourceID) {
    const std::string id = sourceID;
    sources_.insert_or_assign(id, Source{.nextRun = mainThread_.now() + period_});
    action_(id);
}

} // namespace vello
