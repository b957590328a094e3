// SPDX-License-Identifier: Apache-2.0
#include "BackgroundWriter.h"
#include "ClientOutput.h"
#include "Control/State/StateJSON.h"
#include "Control/State/StateText.h"
#include "StatusWatch.h"

#include <chrono>

namespace vello {
namespace {

using Clock = std::chrono::steady_clock;

/// Composes what a watch prints: what differs between the state and the one that was printed last.
class WatchText {
public:
    WatchText(const ClientRequest& request, bool isTerminal)
        : isJSON_(request.format == OutputFormat::json), isTerminal_(isTerminal),
          showsLevels_(isJSON_ ? request.showsLevels : isTerminal), levelPeriod_(1.0 / request.levelRate) {}

    bool showsLevels() const { return showsLevels_; }

    /// Empty if there is nothing new, or nothing but levels too early.
    std::string next(const RunningState& state) {
        const bool isLevelDue = showsLevels_ && Clock::now() - levelsPrintedAt_ >= levelPeriod_;
        const std::string text = isJSON_ ? events(state, isLevelDue) : table(state, isLevelDue);
        if (isLevelDue && !text.empty())
            levelsPrintedAt_ = Clock::now();
        return text;
    }

private:
    std::string events(const RunningState& state, bool isLevelDue) {
        std::string text;
        for (const std::string& event :
             printed_ ? changeEvents(*printed_, state) : std::vector<std::string>{stateEvent(state)})
            text.append(event).append("\n");
        printed_ = state;
        std::string levels = isLevelDue ? levelsEvent(state) + "\n" : printedLevels_;
        if (levels != printedLevels_)
            text.append(levels);
        printedLevels_ = std::move(levels);
        return text;
    }

    std::string table(const RunningState& state, bool isLevelDue) {
        RunningState shown = isLevelDue ? state : withMetersOfLast(state);
        if (shown == printed_)
            return "";
        printed_ = std::move(shown);
        return isTerminal_ ? repainted(statusText(*printed_)) : statusText(*printed_) + "\n";
    }

    /// In a log of tables, only changes of the state are useful, not every meter reading.
    RunningState withMetersOfLast(RunningState state) const {
        for (SourceState& source : state.sources) {
            source.meters.reset();
            for (const SourceState& last : printed_ ? printed_->sources : std::vector<SourceState>{})
                if (last.source.id == source.source.id)
                    source.meters = last.meters;
        }
        return state;
    }

    /// Overwrites the previous table on a terminal.
    static std::string repainted(const std::string& table) {
        std::string painted = "\x1b[H";
        for (const char c : table)
            painted.append(c == '\n' ? "\x1b[K\n" : std::string(1, c));
        return painted + "\x1b[J";
    }

    bool isJSON_, isTerminal_, showsLevels_;
    std::chrono::duration<double> levelPeriod_;
    Clock::time_point levelsPrintedAt_{};
    std::optional<RunningState> printed_;
    std::string printedLevels_;
};

} // namespace

void watchStatus(RunningInstance& instance, const ClientRequest& request, const ClientOutput& output) {
    WatchText text(request, output.isTerminal);
    StatusWatch watch(instance, text.showsLevels() ? StatusWatch::Levels::told : StatusWatch::Levels::untold);
    watch.readPresets();
    BackgroundWriter writer(output.out);
    const auto printNext = [&](const RunningState& state) {
        if (!writer.isIdle())
            return;
        if (std::string next = text.next(state); !next.empty())
            writer.write(std::move(next));
    };
    QObject::connect(&writer, &BackgroundWriter::idle, &watch, &StatusWatch::changed);
    int problem = 0;
    QObject::connect(&writer, &BackgroundWriter::failed, &watch, [&](int reason) {
        problem = reason;
        watch.stop();
    });
    watch.run(printNext);
    failToPrint(problem);
}

} // namespace vello
