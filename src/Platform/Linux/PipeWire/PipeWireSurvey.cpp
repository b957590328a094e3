// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/PipeWireSurvey.h"

#include "GraphObjects.h"
#include "PipeWireBinding.h"
#include "PipeWireQuirks.h"
#include "PipeWireValues.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace vello {
namespace {

using Clock = std::chrono::steady_clock;
using Answer = AudioServerFacts::Answer;

/// Distinguishes the surveying program from a VELLO that equalizes.
constexpr char kSurveyor[] = "vello doctor";

/// Reads the registry. Each round of requests ends with an answer to a sync: the objects, then their
/// properties, then the metadata, which comes last because its answer needs the session manager.
class Survey {
public:
    explicit Survey(AudioServerFacts& facts);
    ~Survey();
    Survey(const Survey&) = delete;
    Survey& operator=(const Survey&) = delete;

    void run(Clock::time_point deadline);

private:
    struct BoundNode {
        Survey& survey;
        std::uint32_t id;
        PipeWireBinding binding = {};
    };
    struct BoundClient {
        Survey& survey;
        std::uint32_t id;
        PipeWireBinding binding = {};
    };

    bool connect();
    void listen();
    bool awaitRound(Clock::time_point deadline);
    void bindMetadata();
    void added(std::uint32_t id, std::uint32_t permissions, const char* type, const spa_dict& properties);
    void addNode(std::uint32_t id, std::uint32_t permissions, const spa_dict& properties);
    void addClient(std::uint32_t id);
    void addMetadata(std::uint32_t id, std::uint32_t permissions, const spa_dict& properties);
    void dropSurveyors();

    static void onCoreInfo(void* data, const pw_core_info* info);
    static void onCoreDone(void* data, std::uint32_t id, int sequence);
    static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                         std::uint32_t version, const spa_dict* properties);
    static void onNodeInfo(void* data, const pw_node_info* info);
    static void onClientInfo(void* data, const pw_client_info* info);
    static int onMetadata(void* data, std::uint32_t subject, const char* key, const char* type,
                          const char* value);

    AudioServerFacts& facts_;
    pw_loop* loop_;
    pw_context* context_;
    pw_core* core_ = nullptr;
    spa_hook coreHook_{};
    PipeWireBinding registry_;
    PipeWireBinding metadata_;
    std::uint32_t metadataID_ = 0;
    std::vector<std::unique_ptr<BoundNode>> nodes_;
    std::vector<std::unique_ptr<BoundClient>> clients_;
    int awaited_ = -1;
    bool isAnswered_ = false;
    bool mayMarkStreams_ = true;
};

Survey::Survey(AudioServerFacts& facts)
    : facts_(facts), loop_(pw_loop_new(nullptr)), context_(pw_context_new(loop_, nullptr, 0)) {}

Survey::~Survey() {
    nodes_.clear();
    clients_.clear();
    metadata_.reset();
    registry_.reset();
    if (core_ != nullptr) {
        spa_hook_remove(&coreHook_);
        pw_core_disconnect(core_);
    }
    if (context_ != nullptr)
        pw_context_destroy(context_);
    pw_loop_destroy(loop_);
}

void Survey::run(Clock::time_point deadline) {
    if (!connect())
        return;
    listen();
    if (!awaitRound(deadline) || !awaitRound(deadline))
        return;
    facts_.answer = Answer::complete;
    facts_.hasMetadata = metadataID_ != 0;
    if (facts_.hasMetadata) {
        bindMetadata();
        facts_.isMetadataSilent = !awaitRound(deadline);
    }
    facts_.mayRedirect = facts_.mayRedirect && mayMarkStreams_;
    dropSurveyors();
}

bool Survey::connect() {
    if (context_ == nullptr)
        return false;
    core_ = pw_context_connect(
        context_,
        pw_properties_new(PW_KEY_APP_NAME, kSurveyor, PW_KEY_MEDIA_CATEGORY, quirks::kMediaCategory, nullptr),
        0);
    if (core_ == nullptr)
        facts_.answer = errno == EACCES || errno == EPERM ? Answer::refused : Answer::absent;
    else
        facts_.answer = Answer::silent;
    return core_ != nullptr;
}

void Survey::listen() {
    static const pw_core_events coreEvents = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.info = onCoreInfo;
        table.done = onCoreDone;
        return table;
    }();
    static const pw_registry_events registryEvents = [] {
        pw_registry_events table{};
        table.version = PW_VERSION_REGISTRY_EVENTS;
        table.global = onGlobal;
        return table;
    }();
    vello_core_add_listener(core_, &coreHook_, &coreEvents, this);
    registry_.bind(pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0));
    vello_registry_add_listener(registry_.as<pw_registry>(), registry_.hook(), &registryEvents, this);
}

/// False when the server does not answer in time.
bool Survey::awaitRound(Clock::time_point deadline) {
    isAnswered_ = false;
    awaited_ = vello_core_sync(core_, awaited_);
    pw_loop_enter(loop_);
    while (!isAnswered_ && Clock::now() < deadline) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (pw_loop_iterate(loop_, static_cast<int>(std::max<std::int64_t>(left.count(), 0))) < 0)
            break;
    }
    pw_loop_leave(loop_);
    return isAnswered_;
}

void Survey::bindMetadata() {
    static const pw_metadata_events events = [] {
        pw_metadata_events table{};
        table.version = PW_VERSION_METADATA_EVENTS;
        table.property = onMetadata;
        return table;
    }();
    metadata_.bind(pw_registry_bind(registry_.as<pw_registry>(), metadataID_, PW_TYPE_INTERFACE_Metadata,
                                    PW_VERSION_METADATA, 0));
    vello_metadata_add_listener(metadata_.as<pw_metadata>(), metadata_.hook(), &events, this);
}

void Survey::added(std::uint32_t id, std::uint32_t permissions, const char* type,
                   const spa_dict& properties) {
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0)
        addNode(id, permissions, properties);
    else if (std::strcmp(type, PW_TYPE_INTERFACE_Client) == 0)
        addClient(id);
    else if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0)
        addMetadata(id, permissions, properties);
    else if (std::strcmp(type, PW_TYPE_INTERFACE_Link) == 0)
        facts_.links.push_back({propertyNumber(properties, PW_KEY_LINK_OUTPUT_NODE).value_or(0),
                                propertyNumber(properties, PW_KEY_LINK_INPUT_NODE).value_or(0)});
}

void Survey::addNode(std::uint32_t id, std::uint32_t permissions, const spa_dict& properties) {
    static const pw_node_events events = [] {
        pw_node_events table{};
        table.version = PW_VERSION_NODE_EVENTS;
        table.info = onNodeInfo;
        return table;
    }();
    facts_.nodes.push_back({.id = id,
                            .client = propertyNumber(properties, PW_KEY_CLIENT_ID),
                            .mediaClass = propertyText(properties, PW_KEY_MEDIA_CLASS),
                            .name = propertyText(properties, PW_KEY_NODE_NAME),
                            .description = {},
                            .application = {},
                            .media = {},
                            .linkGroup = {}});
    // A target is metadata on the stream.
    if (facts_.nodes.back().mediaClass == "Stream/Output/Audio")
        mayMarkStreams_ = mayMarkStreams_ && (permissions & PW_PERM_M) != 0;
    auto& bound = nodes_.emplace_back(new BoundNode{*this, id});
    bound->binding.bind(
        pw_registry_bind(registry_.as<pw_registry>(), id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    vello_node_add_listener(bound->binding.as<pw_node>(), bound->binding.hook(), &events, bound.get());
}

void Survey::addClient(std::uint32_t id) {
    static const pw_client_events events = [] {
        pw_client_events table{};
        table.version = PW_VERSION_CLIENT_EVENTS;
        table.info = onClientInfo;
        return table;
    }();
    facts_.clients.push_back({.id = id, .name = {}, .binary = {}, .pid = {}});
    auto& bound = clients_.emplace_back(new BoundClient{*this, id});
    bound->binding.bind(
        pw_registry_bind(registry_.as<pw_registry>(), id, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0));
    vello_client_add_listener(bound->binding.as<pw_client>(), bound->binding.hook(), &events, bound.get());
}

void Survey::addMetadata(std::uint32_t id, std::uint32_t permissions, const spa_dict& properties) {
    if (propertyText(properties, PW_KEY_METADATA_NAME) != "default")
        return;
    metadataID_ = id;
    facts_.mayRedirect = (permissions & PW_PERM_W) != 0;
}

void Survey::dropSurveyors() {
    std::erase_if(facts_.clients, [](const AudioClientFacts& client) { return client.name == kSurveyor; });
}

void Survey::onCoreInfo(void* data, const pw_core_info* info) {
    if (info->version != nullptr)
        static_cast<Survey*>(data)->facts_.version = info->version;
}

void Survey::onCoreDone(void* data, std::uint32_t id, int sequence) {
    auto& self = *static_cast<Survey*>(data);
    if (id == PW_ID_CORE && sequence == self.awaited_)
        self.isAnswered_ = true;
}

void Survey::onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                      std::uint32_t, const spa_dict* properties) {
    static constexpr spa_dict kNothing{0, 0, nullptr};
    static_cast<Survey*>(data)->added(id, permissions, type, properties != nullptr ? *properties : kNothing);
}

void Survey::onNodeInfo(void* data, const pw_node_info* info) {
    const auto& bound = *static_cast<BoundNode*>(data);
    const auto node = std::ranges::find(bound.survey.facts_.nodes, bound.id, &AudioNodeFacts::id);
    node->isRunning = info->state == PW_NODE_STATE_RUNNING;
    if (info->props == nullptr)
        return;
    node->description = propertyText(*info->props, PW_KEY_NODE_DESCRIPTION);
    node->application = propertyText(*info->props, PW_KEY_APP_NAME);
    node->media = propertyText(*info->props, PW_KEY_MEDIA_NAME);
    node->linkGroup = propertyText(*info->props, PW_KEY_NODE_LINK_GROUP);
}

void Survey::onClientInfo(void* data, const pw_client_info* info) {
    const auto& bound = *static_cast<BoundClient*>(data);
    if (info->props == nullptr)
        return;
    const auto client = std::ranges::find(bound.survey.facts_.clients, bound.id, &AudioClientFacts::id);
    client->name = propertyText(*info->props, PW_KEY_APP_NAME);
    client->binary = propertyText(*info->props, PW_KEY_APP_PROCESS_BINARY);
    // The socket of a PulseAudio client belongs to the PulseAudio server.
    const bool isPulse = propertyText(*info->props, PW_KEY_CLIENT_API) == "pipewire-pulse";
    if (const auto pid = propertyNumber(*info->props, isPulse ? PW_KEY_APP_PROCESS_ID : PW_KEY_SEC_PID))
        client->pid = static_cast<std::int32_t>(*pid);
}

int Survey::onMetadata(void* data, std::uint32_t, const char* key, const char*, const char* value) {
    if (key != nullptr && std::strcmp(key, kDefaultSinkKey) == 0)
        static_cast<Survey*>(data)->facts_.defaultOutput = nameInJson(value);
    return 0;
}

} // namespace

AudioServerFacts surveyAudioServer(std::chrono::milliseconds patience) {
    AudioServerFacts facts;
    pw_init(nullptr, nullptr);
    // The library would print an error where there is no server.
    if (std::getenv("PIPEWIRE_DEBUG") == nullptr)
        pw_log_set_level(SPA_LOG_LEVEL_NONE);
    facts.library = pw_get_library_version();
    Survey(facts).run(Clock::now() + patience);
    pw_deinit();
    return facts;
}

} // namespace vello
