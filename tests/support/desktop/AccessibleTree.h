// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BusClient.h"
#include "ChildProcess.h"

#include <QRect>

#include <optional>
#include <string>
#include <vector>

namespace vello::session {

/// A control as a screen reader sees it.
struct AccessibleElement {
    BusObject object = {};
    std::string role = {}; ///< "push button", "slider", ...
    std::string name = {};
};

/// Numbers of the states of a control on the accessibility bus.
enum class AccessibleState {
    checked = 4,
    enabled = 8,
    expanded = 10,
    focusable = 11,
    focused = 12,
    showing = 25
};

/// The controls of a session's programs, as a screen reader finds, reads and operates them. Every call
/// queries the programs again. All functions may throw std::runtime_error when a program exits meanwhile.
class AccessibleTree {
public:
    /// For the programs in this session, whose accessibility bus must run.
    explicit AccessibleTree(const Environment& session);

    /// All elements that the application currently shows on the screen, parents before children. Empty when
    /// there is no application with that name.
    std::vector<AccessibleElement> elements(const std::string& application) const;
    /// The first element on the screen with that role and name; an empty role matches any.
    std::optional<AccessibleElement> find(const std::string& application, const std::string& role,
                                          const std::string& name) const;

    /// In screen pixels.
    QRect extents(const AccessibleElement& element) const;
    bool is(const AccessibleElement& element, AccessibleState state) const;
    /// The element's accessible description.
    std::string description(const AccessibleElement& element) const;
    /// The value of a slider.
    double value(const AccessibleElement& element) const;
    void setValue(const AccessibleElement& element, double value) const;
    /// The text of a text field.
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

/// All elements as text, for the message of a failed test.
std::string describe(const std::vector<AccessibleElement>& elements);

} // namespace vello::session
