// SPDX-License-Identifier: Apache-2.0
#include "NameCover.h"

#include "Control/Diagnosis/SoundPath.h"
#include "Foundation/Text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vello {
namespace {

constexpr std::size_t kWidestApplication = 40; ///< columns
constexpr std::size_t kWidestLine = 300;       ///< columns
/// Shorter words are no names that could be told from other words of a line.
constexpr std::size_t kShortestWord = 3;

/// The log's sentences about one application, which may have gone: what stands before its name. What follows
/// the name is not told from it.
constexpr std::array kSentencesWithName{std::string_view("Tap for "), std::string_view("Tap format for "),
                                        std::string_view("Tap activation failed for ")};

void replaceAll(std::string& text, const std::string& word, const std::string& instead) {
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + instead.size()))
        text.replace(at, word.size(), instead);
}

/// Ends the line where the name of an unknown application would begin.
void cutUnknownName(std::string& line) {
    for (const std::string_view start : kSentencesWithName)
        if (const auto at = line.find(start);
            at != std::string::npos && line.compare(at + start.size(), 12, "application ") != 0)
            line = line.substr(0, at + start.size()) + "an application";
}

} // namespace

std::string applicationName(const AudioServerFacts& server, const AudioNodeFacts& stream) {
    const AudioClientFacts* client = clientOf(server, stream);
    for (const std::string& name :
         {stream.application, client != nullptr ? client->name : "", stream.description, stream.name})
        if (!name.empty())
            return name;
    return "?";
}

NameCover::NameCover(const DiagnosisFacts& facts, ApplicationNames names)
    : server_(facts.server), names_(names) {
    for (const AudioNodeFacts& node : facts.server.nodes)
        if (isApplicationStream(node)) {
            const std::string name = applicationName(facts.server, node);
            const auto [entry, isNew] =
                aliases_.try_emplace(name, "application " + std::to_string(aliases_.size() + 1));
            for (const std::string& word : {name, node.name, node.description, node.media})
                cover(word, entry->second);
        }
    for (const SourceState& each : facts.instance.state.sources)
        if (each.source.id != kSystemSourceID) {
            const auto known = aliases_.find(each.source.name);
            const std::string alias = known != aliases_.end() ? known->second : "an application";
            cover(each.source.name, alias);
            cover(each.source.id, alias);
        }
    std::ranges::stable_sort(words_, std::ranges::greater(),
                             [](const auto& word) { return word.first.size(); });
}

void NameCover::cover(const std::string& name, const std::string& instead) {
    if (name.size() >= kShortestWord)
        words_.emplace_back(name, instead);
}

std::string NameCover::application(const AudioNodeFacts& stream) const {
    const std::string name = applicationName(server_, stream);
    if (names_ == ApplicationNames::shown)
        return fittedText(name, kWidestApplication);
    const auto alias = aliases_.find(name);
    return alias == aliases_.end() ? "an application" : alias->second;
}

std::string NameCover::line(const std::string& text) const {
    std::string covered = text;
    if (names_ == ApplicationNames::hidden) {
        for (const auto& [word, instead] : words_)
            replaceAll(covered, word, instead);
        cutUnknownName(covered);
    }
    return fittedText(covered, kWidestLine);
}

} // namespace vello
