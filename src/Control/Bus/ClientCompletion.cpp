// SPDX-License-Identifier: Apache-2.0
#include "ClientOutput.h"
#include "Foundation/Text.h"

#include <algorithm>

namespace vello {
namespace {

using Values = Completion::Values;
using Words = std::vector<CompletionWord>;

/// A name stands for its id only if no other source has it; the id always does.
void addSources(Words& words, const std::vector<SourceState>& sources) {
    for (const SourceState& entry : sources) {
        words.push_back({entry.source.name, entry.source.id});
        words.push_back({entry.source.id, entry.source.name});
    }
}

void addOthers(Words& words, const RunningInstance& instance) {
    const auto add = [&words](const std::string& id, const std::string& name) {
        if (!id.empty())
            words.push_back({id, name});
    };
    for (const ExemptStreamState& stream : instance.exemptStreams())
        add(stream.sourceID, stream.name);
    for (const ReadyApplicationState& application : instance.readyApplications())
        add(application.sourceID, application.name);
}

void addPresets(Words& words, const RunningInstance& instance) {
    for (const PresetState& preset : instance.presets())
        if (!preset.isBuiltIn)
            words.push_back({preset.id, "saved"});
}

void addOutputs(Words& words, const RunningInstance& instance) {
    words.push_back({"auto", "the one that the application would use by itself"});
    for (const AudioOutputRoute& route : instance.state().outputs) {
        words.push_back({route.id, route.name});
        words.push_back({route.name, route.id});
    }
}

void addValues(Words& words, Values values, const RunningInstance& instance) {
    if (values == Values::sources || values == Values::settableSources) {
        words.push_back({"system", "every source without settings of its own"});
        addSources(words, instance.state().sources);
    }
    if (values == Values::settableSources)
        addOthers(words, instance);
    if (values == Values::settableSources || values == Values::storedSources)
        for (const SourceState& entry : instance.storedSources())
            words.push_back({entry.source.id, "does not play"});
    if (values == Values::presets || values == Values::userPresets)
        addPresets(words, instance);
    if (values == Values::outputs)
        addOutputs(words, instance);
}

/// Each word once, in order; without those that a line or a terminal cannot hold.
Words offered(Words words) {
    std::erase_if(words, [](const CompletionWord& each) {
        return each.word.empty() || terminalText(each.word) != each.word;
    });
    std::ranges::stable_sort(words, {}, &CompletionWord::word);
    const auto doubles = std::ranges::unique(words, {}, &CompletionWord::word);
    words.erase(doubles.begin(), doubles.end());
    return words;
}

} // namespace

void completeWords(const ClientRequest& request, const ClientOutput& output) {
    if (request.completion.values == Values::files)
        return print(output, "files\n");
    Words words = request.completion.words;
    if (request.completion.values != Values::none)
        try {
            const RunningInstance instance;
            addValues(words, request.completion.values, instance);
        } catch (const InstanceError&) { // nothing runs that knows more words
        }
    std::string printed = "words\n";
    for (const CompletionWord& each : offered(std::move(words)))
        printed.append(each.word).append("\t").append(terminalText(each.description)).append("\n");
    print(output, printed);
}

} // namespace vello
