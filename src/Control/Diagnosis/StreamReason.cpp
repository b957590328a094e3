// SPDX-License-Identifier: Apache-2.0
#include "StreamReason.h"

#include "Control/Diagnosis/SoundPath.h"
#include "Control/State/ExemptionWords.h"
#include "NameCover.h"

#include <algorithm>

namespace vello {
namespace {

using Answer = InstanceFacts::Answer;

bool isTapped(const AudioServerFacts& server, const AudioNodeFacts& stream) {
    const auto places = destinations(server, stream);
    return !places.empty() &&
           std::ranges::all_of(places, [](const auto* place) { return isOfVello(*place); });
}

/// Null when VELLO does not say that the stream is exempt.
const ExemptStreamState* exemption(const DiagnosisFacts& facts, const AudioNodeFacts& stream) {
    const auto& exempt = facts.instance.state.exemptStreams;
    if (!exempt)
        return nullptr;
    const AudioClientFacts* client = clientOf(facts.server, stream);
    const auto isMeant = [&](const ExemptStreamState& each) {
        const bool isOfItsProcess = each.pid && client != nullptr && client->pid == each.pid;
        const bool isOfItsName = each.streamName == stream.media || each.streamName == stream.name ||
                                 each.streamName == stream.description;
        return isOfItsName && (isOfItsProcess || each.name == applicationName(facts.server, stream));
    };
    const auto found = std::ranges::find_if(*exempt, isMeant);
    return found == exempt->end() ? nullptr : &*found;
}

/// Why VELLO equalizes nothing at all; empty when it could.
std::string generalReason(const DiagnosisFacts& facts) {
    switch (facts.instance.answer) {
    case Answer::noBus:
        return "not equalized: the running VELLO cannot be asked";
    case Answer::notRunning:
        return "not equalized: VELLO is not running";
    case Answer::silent:
        return "not equalized: VELLO does not answer";
    case Answer::complete:
        break;
    }
    if (!facts.instance.state.isProcessingEnabled)
        return "not equalized: VELLO is switched off";
    if (facts.instance.state.consent != Consent::allowed)
        return "not equalized: the consent is missing";
    return facts.server.mayRedirect ? "" : "not equalized: VELLO has no right to redirect it";
}

} // namespace

std::string streamReason(const DiagnosisFacts& facts, const AudioNodeFacts& stream) {
    if (isTapped(facts.server, stream))
        return "equalized";
    if (std::string general = generalReason(facts); !general.empty())
        return general;
    if (const ExemptStreamState* exempt = exemption(facts, stream))
        return "left as it is: " + exemptionPhrase(exempt->reason);
    return stream.isRunning ? "not equalized yet: the audio system has not connected it to VELLO"
                            : "not equalized: it does not play";
}

} // namespace vello
