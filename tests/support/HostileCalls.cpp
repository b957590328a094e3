// SPDX-License-Identifier: Apache-2.0
#include "HostileCalls.h"

#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

#include <systemd/sd-bus.h>

namespace vello {
namespace {

constexpr char kService[] = "com.quorvin.Vello";
constexpr char kPath[] = "/com/quorvin/Vello";
constexpr char kInterface[] = "com.quorvin.Vello1";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr std::uint64_t kPatience = 10'000'000; // microseconds

struct BusCloser {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageUnref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, BusCloser>;
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

void check(int result, const char* what) {
    if (result < 0)
        throw std::runtime_error(std::string("cannot ") + what);
}

/// One call under construction.
class Call {
public:
    Call(sd_bus* bus, const std::string& path, const std::string& interface, const std::string& member) {
        sd_bus_message* message = nullptr;
        check(sd_bus_message_new_method_call(bus, &message, kService, path.c_str(), interface.c_str(),
                                             member.c_str()),
              "make a call");
        message_.reset(message);
        description_ = path + " " + interface + "." + member;
    }

    template <class Value> Call& add(char type, const Value& value) {
        check(sd_bus_message_append_basic(message_.get(), type, value), "append a value");
        return *this;
    }
    Call& text(const std::string& value) {
        description_.append(" ").append(value, 0, 40);
        return add('s', value.c_str());
    }
    Call& number(double value) { return add('d', &value); }
    Call& open(char type, const std::string& contents) {
        check(sd_bus_message_open_container(message_.get(), type, contents.c_str()), "open a container");
        return *this;
    }
    Call& close() {
        check(sd_bus_message_close_container(message_.get()), "close a container");
        return *this;
    }
    Call& numbers(const std::vector<double>& values) {
        open('a', "d");
        for (const double value : values)
            number(value);
        return close();
    }
    Call& bytes(const std::string& content) {
        check(sd_bus_message_append_array(message_.get(), 'y', content.data(), content.size()),
              "append bytes");
        return *this;
    }
    /// Appends a dictionary with one entry, whose value `addValue` appends.
    template <class AddValue>
    Call& entry(const std::string& key, const std::string& type, AddValue addValue) {
        open('a', "{sv}").open('e', "sv").text(key).open('v', type);
        addValue(*this);
        return close().close().close();
    }

    sd_bus_message* message() const { return message_.get(); }
    const std::string& description() const { return description_; }

private:
    Message message_;
    std::string description_;
};

class Attacker {
public:
    Attacker(sd_bus* bus, std::uint32_t seed) : bus_(bus), random_(seed) {}

    Call next(AttackedMembers members) {
        using Kind = Call (Attacker::*)();
        static constexpr Kind onPresetsAndSources[] = {&Attacker::wrongStep,      &Attacker::wrongBands,
                                                       &Attacker::wrongNewSource, &Attacker::wrongDeletion,
                                                       &Attacker::wrongRenaming,  &Attacker::unknownHistory,
                                                       &Attacker::twoVolumes,     &Attacker::wrongSignature};
        if (members == AttackedMembers::presetsAndSources || below(3) == 0)
            return (this->*onPresetsAndSources[below(std::size(onPresetsAndSources))])();
        static constexpr Kind kinds[] = {
            &Attacker::wrongGains,  &Attacker::wrongVolume,    &Attacker::wrongType,
            &Attacker::unknownKey,  &Attacker::unknownSource,  &Attacker::unknownChoice,
            &Attacker::wrongPreset, &Attacker::wrongSignature, &Attacker::wrongMember,
            &Attacker::wrongPlace,  &Attacker::wrongProperty,  &Attacker::deepNesting,
            &Attacker::manyEntries, &Attacker::contradiction,  &Attacker::wrongImport,
        };
        return (this->*kinds[below(std::size(kinds))])();
    }

private:
    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }
    template <class Value> Value oneOf(const std::vector<Value>& values) {
        return values[below(values.size())];
    }
    Call method(const std::string& member) { return {bus_, kPath, kInterface, member}; }
    Call set(const std::string& source) {
        Call call = method("SetSettings");
        call.text(source);
        return call;
    }
    std::string source() { return oneOf<std::string>({"eq-by-quorvin.system.master", "org.example.player"}); }

    double wrongNumber(double largest) {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        return oneOf<double>({std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::signaling_NaN(), infinity, -infinity, 1e308,
                              -1e308, largest * (1 + 1e-9), -largest - 1e-9, 4.9e-324 - 1e9});
    }
    /// Text with a length around the limits of names, sometimes a huge one.
    std::string longText() {
        return std::string(oneOf<std::size_t>({201, 1000, 65536, below(100) == 0 ? 8U << 20U : 4096U}), 'x');
    }
    std::string wrongName() {
        return oneOf<std::string>({"", " ", "\t\n ", "two\nlines", "\x01", "escape\x1b[2J", "back\u202Ewards",
                                   "\u200B", "\u2028", longText()});
    }
    std::string unknownID() {
        return oneOf<std::string>({"", "nobody", "org.example.player ", "../../etc/passwd", "%s%n", "pid.1",
                                   "'; DROP TABLE sources; --", "\x7F", longText()});
    }

    Call wrongGains() {
        std::vector<double> gains(oneOf<std::size_t>({0, 1, 7, 8, 8, 8, 9, 1000}), 1.0);
        if (gains.size() == 8)
            gains[below(8)] = wrongNumber(12);
        Call call = set(source());
        call.entry("bandGains", "ad", [&](Call& value) { value.numbers(gains); });
        return call;
    }
    Call wrongVolume() {
        Call call = set(source());
        call.entry("volume", "d", [&](Call& value) { value.number(wrongNumber(1)); });
        return call;
    }
    Call wrongType() {
        const auto key = oneOf<std::string>({"bandGains", "volume", "isBypassed", "preset", "outputDeviceUID",
                                             "reset", "downmixesSurround", "gainsByBand", "gainStepsByBand",
                                             "volumeStep", "volumeFactor", "togglesBypass", "isNew"});
        Call call = set(source());
        switch (below(5)) {
        case 0: {
            const std::int32_t number = -1;
            call.entry(key, "i", [&](Call& value) { value.add('i', &number); });
            break;
        }
        case 1:
            call.entry(key, "as", [](Call& value) { value.open('a', "s").text("1").text("2").close(); });
            break;
        case 2:
            call.entry(key, "(dd)", [](Call& value) { value.open('r', "dd").number(1).number(2).close(); });
            break;
        case 3: {
            const std::uint8_t byte = 1;
            call.entry(key, "ay", [&](Call& value) { value.open('a', "y").add('y', &byte).close(); });
            break;
        }
        default:
            call.entry(key, "v", [](Call& value) { value.open('v', "d").number(0.5).close(); });
        }
        return call;
    }
    Call unknownKey() {
        Call call = set(source());
        call.entry(oneOf<std::string>({"", "Volume", "volume ", "bandgains", longText()}), "d",
                   [](Call& value) { value.number(0.5); });
        return call;
    }
    Call unknownSource() {
        Call call = set(unknownID());
        call.entry("volume", "d", [](Call& value) { value.number(0.5); });
        return call;
    }
    Call unknownChoice() {
        Call call = set(source());
        const std::string id = oneOf<std::string>({"nothing", "Flt", "FLAT", longText()});
        call.entry(oneOf<std::string>({"preset", "outputDeviceUID"}), "s",
                   [&](Call& value) { value.text(id); });
        return call;
    }
    Call wrongPreset() {
        Call call = method("SavePreset");
        const bool isNameWrong = below(2) == 0;
        std::vector<double> gains(isNameWrong ? 8U : oneOf<std::size_t>({0, 7, 8, 9, 100000}), 1.0);
        if (!isNameWrong && gains.size() == 8)
            gains[below(8)] = wrongNumber(12);
        call.text(isNameWrong ? wrongName() : "Mine").numbers(gains);
        return call;
    }
    Call wrongImport() {
        const bool isNameWrong = below(2) == 0;
        const std::string curve = "GraphicEQ: 100 3; 1000 0";
        const auto damaged = oneOf<std::string>({"", std::string(100, '\0'), curve + " x", "[[[[", "{}",
                                                 "Filter: ON PK Fc 1e999 Hz Gain nan dB Q inf", longText()});
        auto name = wrongName();
        if (!isNameWrong)
            name = "Mine";
        Call call = method("ImportPreset");
        call.text(name).bytes(isNameWrong ? curve : damaged);
        return call;
    }
    Call wrongStep() {
        const bool isStep = below(2) == 0;
        Call call = set(source());
        call.entry(isStep ? "volumeStep" : "volumeFactor", "d",
                   [&](Call& value) { value.number(wrongNumber(isStep ? 1 : 1000)); });
        return call;
    }
    Call wrongBands() {
        const bool isFrequencyWrong = below(2) == 0;
        const bool isStep = below(2) == 0;
        const auto frequency = isFrequencyWrong ? oneOf<std::uint32_t>({0, 1, 64, 1001, 16000, 0xFFFFFFFF})
                                                : std::uint32_t{1000};
        const double gain = isFrequencyWrong ? 1 : wrongNumber(isStep ? 24 : 12);
        Call call = set(source());
        call.entry(isStep ? "gainStepsByBand" : "gainsByBand", "a{ud}", [&](Call& value) {
            value.open('a', "{ud}").open('e', "ud").add('u', &frequency).number(gain).close().close();
        });
        return call;
    }
    Call twoVolumes() {
        Call call = set(source());
        call.open('a', "{sv}");
        for (const char* key : {"volume", "volumeStep"})
            call.open('e', "sv").text(key).open('v', "d").number(0.5).close().close();
        call.close();
        return call;
    }
    /// A source that is called new, with an id that no application can have or with an invalid value.
    Call wrongNewSource() {
        const bool isIDWrong = below(2) == 0;
        const int isNew = 1;
        Call call = set(isIDWrong ? oneOf<std::string>({"", " ", "two words", "pid.1", "\x7F", "line\nbreak",
                                                        "back\u202Ewards", "\u200B", longText()})
                                  : "org.example.new");
        call.open('a', "{sv}");
        call.open('e', "sv").text("isNew").open('v', "b").add('b', &isNew).close().close();
        call.open('e', "sv")
            .text("volume")
            .open('v', "d")
            .number(isIDWrong ? 0.5 : wrongNumber(1))
            .close()
            .close();
        call.close();
        return call;
    }
    Call wrongDeletion() {
        Call call = method("DeletePreset");
        call.text(below(2) == 0 ? unknownID() : oneOf<std::string>({"flat", "vocal", "kept", "Kept "}));
        return call;
    }
    Call wrongRenaming() {
        Call call = method("RenamePreset");
        if (below(2) == 0)
            call.text("Kept").text(below(2) == 0 ? wrongName() : oneOf<std::string>({"flat", " vocal "}));
        else
            call.text(unknownID()).text("Mine");
        return call;
    }
    Call unknownHistory() {
        Call call = method(oneOf<std::string>({"UndoSettings", "ForgetSource"}));
        call.text(unknownID());
        return call;
    }
    Call wrongSignature() {
        Call call = method(oneOf<std::string>(
            {"SetSettings", "SetProcessingEnabled", "SavePreset", "Save", "ShowPanel", "RequestPermission",
             "SubscribeLevels", "UnsubscribeLevels", "ListExemptStreams", "ListReadyApplications",
             "ImportPreset", "ExportPresets", "DeletePreset", "RenamePreset", "UndoSettings", "ForgetSource",
             "ListStoredSources", "ListPresets", "Diagnose"}));
        const std::int64_t number = std::numeric_limits<std::int64_t>::min();
        for (std::size_t i = 0; i <= below(20); ++i)
            call.add('x', &number);
        return call;
    }
    Call wrongMember() {
        return method(oneOf<std::string>({"setSettings", "Quit", "deleteLater", "destroyed", "objectName",
                                          "SetSettings_", "version", "_q_reregisterTimers", "x"}));
    }
    Call wrongPlace() {
        const auto path = oneOf<std::string>({"/", "/com", "/com/quorvin", "/com/quorvin/Vello/1", kPath});
        const auto interface = path == kPath
                                   ? oneOf<std::string>({"com.quorvin.Vello2", "local.ControlService",
                                                         "vello.ControlService", "x.y"})
                                   : std::string(kInterface);
        Call call{bus_, path, interface, "SetProcessingEnabled"};
        const int isEnabled = 0;
        call.add('b', &isEnabled);
        return call;
    }
    Call wrongProperty() {
        const auto member = oneOf<std::string>({"Get", "Set", "GetAll"});
        Call call{bus_, kPath, kProperties, member};
        const bool isWriting = member == "Set";
        // Reads an unknown property or writes any: no property is writable. Reading all properties is valid.
        const auto interface = member == "GetAll"
                                   ? oneOf<std::string>({"com.quorvin.Vello2", "x.y", longText()})
                                   : oneOf<std::string>({kInterface, "", "x.y", longText()});
        call.text(interface);
        if (member != "GetAll")
            call.text(isWriting ? oneOf<std::string>(
                                      {"Sources", "Version", "ProcessingEnabled", "SaveProblem", "Nothing"})
                                : unknownID());
        if (isWriting)
            call.open('v', "s").text(longText()).close();
        return call;
    }
    /// Variants nested as deeply as the bus allows.
    Call deepNesting() {
        Call call = set(source());
        const std::size_t depth = 1 + below(55);
        call.entry(oneOf<std::string>({"volume", "bandGains", "other"}), "v", [&](Call& value) {
            for (std::size_t i = 1; i < depth; ++i)
                value.open('v', "v");
            value.open('v', "d").number(0.5).close();
            for (std::size_t i = 1; i < depth; ++i)
                value.close();
        });
        return call;
    }
    /// Valid entries with an invalid one at a random position.
    Call manyEntries() {
        Call call = set(source());
        call.open('a', "{sv}");
        const std::size_t count = 1 + below(2000);
        for (std::size_t i = 0; i < count; ++i)
            call.open('e', "sv").text("volume").open('v', "d").number(0.5).close().close();
        call.open('e', "sv")
            .text("key" + std::to_string(below(1000)))
            .open('v', "d")
            .number(0.5)
            .close()
            .close();
        call.close();
        return call;
    }
    Call contradiction() {
        Call call = set(source());
        call.open('a', "{sv}").open('e', "sv").text("preset").open('v', "s").text("flat").close().close();
        call.open('e', "sv")
            .text("bandGains")
            .open('v', "ad")
            .numbers(std::vector<double>(8, 1.0))
            .close()
            .close();
        call.close();
        return call;
    }

    sd_bus* bus_;
    std::mt19937 random_;
};

Bus connect(const std::string& address) {
    sd_bus* opened = nullptr;
    check(sd_bus_new(&opened), "make a connection");
    Bus bus(opened);
    check(sd_bus_set_address(bus.get(), address.c_str()), "set the address");
    check(sd_bus_set_bus_client(bus.get(), 1), "be a client");
    check(sd_bus_start(bus.get()), "connect");
    return bus;
}

} // namespace

HostileOutcome makeHostileCalls(const std::string& address, int count, std::uint32_t seed,
                                AttackedMembers members) {
    const Bus bus = connect(address);
    Attacker attacker(bus.get(), seed);
    HostileOutcome outcome;
    for (int i = 0; i < count; ++i) {
        const Call call = attacker.next(members);
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message* reply = nullptr;
        const int result = sd_bus_call(bus.get(), call.message(), kPatience, &error, &reply);
        const Message owned(reply);
        if (result >= 0) {
            ++outcome.answered;
            if (outcome.firstUnexpected.empty())
                outcome.firstUnexpected = call.description();
        } else if (sd_bus_error_is_set(&error) != 0 &&
                   !sd_bus_error_has_name(&error, SD_BUS_ERROR_NO_REPLY)) {
            ++outcome.refused;
        } else {
            ++outcome.silent;
        }
        sd_bus_error_free(&error);
    }
    return outcome;
}

} // namespace vello
