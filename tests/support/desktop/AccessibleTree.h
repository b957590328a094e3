// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BusClient.h"
#include "ChildProcess.h"

#include <QRect>

#include <optional>
#include <string>
#include <vector>

namespace vello::session {

/// What a screen reader sees of one control.
struct AccessibleElement {
    BusObject object = {};
    std::string role = {}; ///< "push button", "slider", ...
    std::string name = {};
};

/// The numbers that the accessibility bus gives to the states of a control.
enum class AccessibleState {
    checked = 4,
    enabled = 8,
    expanded = 10,
    focusable = 11,
    focused = 12,
    showing = 25
};

/// The controls of the programs of a session, as a screen reader finds, reads and operates them. It asks the
/// programs anew each time; all of it may throw std::runtime_error when a program goes away meanwhile.
class AccessibleTree {
public:
    /// Of the programs in this session, whose accessibility bus runs.
    explicit AccessibleTree(const Environment& session);

    /// Everything that the application shows on the screen now, an element before what is in it. Empty when
    /// there is no application of that name.
    std::vector<AccessibleElement> elements(const std::string& application) const;
    /// The first one on the screen of that role and name; any role when it is empty.
    std::optional<AccessibleElement> find(const std::string& application, const std::string& role,
                                          const std::string& name) const;

    /// In pixels of the screen.
    QRect extents(const AccessibleElement& element) const;
    bool is(const AccessibleElement& element, AccessibleState state) const;
    /// What it says beyond its name.
    std::string description(const AccessibleElement& element) const;
    /// Of a slider.
    double value(const AccessibleElement& element) const;
    void setValue(const AccessibleElement& element, double value) const;
    /// The text in a field.
    std::string text(const AccessibleElement& element) const;
    std::vector<std::string> actions(const AccessibleElement& element) const;
    /// Throws when the element has no such action or refuses it.
    void act(const AccessibleElement& element, const std::string& action) const;

private:
    std::vector<BusObject> children(const BusObject& object) const;
    std::string nameOf(const BusObject& object) const;
    bool is(const BusObject& object, AccessibleState state) const;
    void collect(const BusObject& object, std::vector<AccessibleElement>& elements) const;

    BusClient bus_;
};

/// Everything on the screen in words, for the message of a failed test.
std::string describe(const std::vector<AccessibleElement>& elements);

} // namespace vello::session
