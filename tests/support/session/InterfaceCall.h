// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>

#include <spa/utils/hook.h>

namespace vello::session {

/// Calls a method of a PipeWire object through its method table. The library's C macros do the same with
/// casts that C++ warns about.
template <class Object, class Methods, class Result, class... Parameters>
Result callInterface(Object* object, Result (*Methods::*method)(void*, Parameters...),
                     std::type_identity_t<Parameters>... arguments) {
    const auto& callbacks = reinterpret_cast<const spa_interface*>(object)->cb;
    const auto* methods = static_cast<const Methods*>(callbacks.funcs);
    return (methods->*method)(callbacks.data, arguments...);
}

} // namespace vello::session
