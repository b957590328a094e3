// SPDX-License-Identifier: Apache-2.0
#include "AccessibleTree.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace vello::session {
namespace {

constexpr char kAccessible[] = "org.a11y.atspi.Accessible";
constexpr char kAction[] = "org.a11y.atspi.Action";
constexpr char kComponent[] = "org.a11y.atspi.Component";
constexpr char kText[] = "org.a11y.atspi.Text";
constexpr char kValue[] = "org.a11y.atspi.Value";
constexpr unsigned kOnTheScreen = 0; ///< the requested coordinate system

std::string accessibilityBus(const Environment& session) {
    const BusClient bus(session.at("DBUS_SESSION_BUS_ADDRESS"));
    return bus.call({"org.a11y.Bus", "/org/a11y/bus"}, "org.a11y.Bus", "GetAddress").text();
}

} // namespace

AccessibleTree::AccessibleTree(const Environment& session) : bus_(accessibilityBus(session)) {}

std::vector<AccessibleElement> AccessibleTree::elements(const std::string& application) const {
    const BusObject root{"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};
    std::vector<AccessibleElement> result;
    for (const BusObject& program : children(root))
        if (nameOf(program) == application)
            for (const BusObject& window : children(program))
                collect(window, result);
    return result;
}

void AccessibleTree::collect(const BusObject& object, std::vector<AccessibleElement>& elements) const {
    if (!is(object, AccessibleState::showing))
        return;
    elements.push_back({object, bus_.call(object, kAccessible, "GetRoleName").text(), nameOf(object)});
    for (const BusObject& child : children(object))
        collect(child, elements);
}

std::optional<AccessibleElement> AccessibleTree::find(const std::string& application, const std::string& role,
                                                      const std::string& name) const {
    const auto all = elements(application);
    const auto found = std::ranges::find_if(all, [&](const AccessibleElement& element) {
        return element.name == name && (role.empty() || element.role == role);
    });
    return found == all.end() ? std::nullopt : std::optional(*found);
}

QRect AccessibleTree::extents(const AccessibleElement& element) const {
    auto answer = bus_.call(element.object, kComponent, "GetExtents", "u", kOnTheScreen);
    answer.enter('r', "iiii");
    std::array<int, 4> numbers{};
    for (int& number : numbers)
        number = answer.integer();
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

bool AccessibleTree::is(const AccessibleElement& element, AccessibleState state) const {
    return is(element.object, state);
}

bool AccessibleTree::is(const BusObject& object, AccessibleState state) const {
    auto answer = bus_.call(object, kAccessible, "GetState");
    answer.enter('a', "u");
    const auto number = static_cast<unsigned>(state);
    for (unsigned word = 0; !answer.isAtEnd(); ++word) {
        const unsigned bits = answer.bits();
        if (word == number / 32)
            return (bits >> number % 32 & 1U) != 0;
    }
    return false;
}

std::string AccessibleTree::description(const AccessibleElement& element) const {
    return bus_.property(element.object, kAccessible, "Description", "s").text();
}

double AccessibleTree::value(const AccessibleElement& element) const {
    return bus_.property(element.object, kValue, "CurrentValue", "d").number();
}

void AccessibleTree::setValue(const AccessibleElement& element, double value) const {
    bus_.call(element.object, "org.freedesktop.DBus.Properties", "Set", "ssv", kValue, "CurrentValue", "d",
              value);
}

std::string AccessibleTree::text(const AccessibleElement& element) const {
    return bus_.call(element.object, kText, "GetText", "ii", 0, -1).text();
}

std::vector<std::string> AccessibleTree::actions(const AccessibleElement& element) const {
    const int count = bus_.property(element.object, kAction, "NActions", "i").integer();
    std::vector<std::string> result;
    for (int i = 0; i < count; ++i)
        result.push_back(bus_.call(element.object, kAction, "GetName", "i", i).text());
    return result;
}

void AccessibleTree::act(const AccessibleElement& element, const std::string& action) const {
    const auto all = actions(element);
    const auto found = std::ranges::find(all, action);
    if (found == all.end())
        throw std::runtime_error(std::string(element.name).append(" has no action ").append(action));
    if (!bus_.call(element.object, kAction, "DoAction", "i", static_cast<int>(found - all.begin())).flag())
        throw std::runtime_error(std::string(element.name).append(" refuses the action ").append(action));
}

std::vector<BusObject> AccessibleTree::children(const BusObject& object) const {
    auto answer = bus_.call(object, kAccessible, "GetChildren");
    answer.enter('a', "(so)");
    std::vector<BusObject> result;
    while (!answer.isAtEnd())
        result.push_back(answer.object());
    return result;
}

std::string AccessibleTree::nameOf(const BusObject& object) const {
    return bus_.property(object, kAccessible, "Name", "s").text();
}

std::string describe(const std::vector<AccessibleElement>& elements) {
    std::string result;
    for (const AccessibleElement& element : elements)
        result.append(element.role).append(" \"").append(element.name).append("\"\n");
    return result;
}

} // namespace vello::session
