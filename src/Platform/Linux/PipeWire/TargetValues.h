// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"

#include <optional>
#include <string>

// The values of a stream's targets in the session manager's metadata.
//
// The session manager saves a target node as the user's choice whenever it is written with another value or
// type, and accepts any type. Our own writes alternate between two types, so each write is a change, and
// differs from writes of mixers and the session manager, which have the type "Spa:Id".

namespace vello {

/// The value of a target that was reset to the default output.
inline constexpr char kFollowsDefault[] = "-1";

/// Whether the target directs a stream to a capture of this or another run.
bool namesACapture(const std::optional<MetadataValue>& target);
/// The target by name. The session manager would save a target by serial as the user's choice.
MetadataValue targetByName(const std::string& name);

/// A target node as a mixer or the session manager writes it.
MetadataValue chosenTargetNode(const std::string& value);
/// Our repetition of a target node. `writes` is the number of our earlier writes of it.
MetadataValue repeatedTargetNode(const std::string& value, unsigned writes);
bool isRepeated(const MetadataValue& targetNode);
/// The target node as the user or the session manager wrote it, even when the current value is our
/// repetition.
std::optional<MetadataValue> asChosen(std::optional<MetadataValue> targetNode);

} // namespace vello
