// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What a diagnosis reads of the system, as plain values.
namespace vello {

/// A device or stream of the audio server.
struct AudioNodeFacts {
    std::uint32_t id = 0;
    std::optional<std::uint32_t> client = {};
    std::string mediaClass;  ///< such as "Audio/Sink"
    std::string name;        ///< node name
    std::string description; ///< for the user; may be empty
    std::string application; ///< name of the application; may be empty
    std::string media;       ///< what the stream says that it plays; may be empty
    std::string linkGroup;   ///< shared by both ends of a filter or loopback; else empty
    bool isRunning = false;
};

struct AudioLinkFacts {
    std::uint32_t from = 0; ///< node ID
    std::uint32_t to = 0;   ///< node ID
};

/// A program that is connected to the audio server.
struct AudioClientFacts {
    std::uint32_t id = 0;
    std::string name;
    std::string binary;              ///< file name of the program
    std::optional<std::int32_t> pid; ///< outside of any sandbox, where the server knows it
};

/// The audio server as one of its clients sees it.
struct AudioServerFacts {
    enum class Answer {
        absent,  ///< nothing listens
        refused, ///< it may not be connected to
        silent,  ///< it accepts the connection and says nothing
        complete
    };
    Answer answer = Answer::absent;
    std::string version; ///< of the server
    std::string library; ///< version of the client library
    std::string defaultOutput;
    /// The session manager's metadata exists.
    bool hasMetadata = false;
    /// The metadata exists, and the session manager does not let the server send it.
    bool isMetadataSilent = false;
    /// A client may send streams to other outputs.
    bool mayRedirect = true;
    std::vector<AudioNodeFacts> nodes = {};
    std::vector<AudioLinkFacts> links = {};
    std::vector<AudioClientFacts> clients = {};
};

/// A folder that VELLO writes to.
struct FolderFacts {
    std::string folder;
    std::optional<std::uint64_t> freeBytes = {}; ///< absent: it cannot be told
    bool isWritable = true;
};

/// Whether the system runs a thread of VELLO with realtime priority.
enum class RealtimePriority { unknown, granted, refused };

} // namespace vello
