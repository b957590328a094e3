# SPDX-License-Identifier: Apache-2.0
# What the project takes from Debian, as imported targets.

find_package(PkgConfig REQUIRED)
find_program(MSGFMT msgfmt REQUIRED) # of gettext, for the translations
pkg_check_modules(HIGHWAY REQUIRED IMPORTED_TARGET libhwy)
find_package(Eigen3 REQUIRED NO_MODULE)
find_package(nlohmann_json REQUIRED)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-i18n icu-uc)
find_path(KISSFFT_INCLUDE_DIR kissfft.hh PATH_SUFFIXES kissfft REQUIRED) # the template alone, for doubles

if(NOT VELLO_LOWER_ROOMS_ONLY)
    pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3)
    pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
    pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
    pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb xcb-xfixes xcb-xinput)
    pkg_check_modules(WAYLAND REQUIRED IMPORTED_TARGET wayland-client)
    find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
    pkg_get_variable(WAYLAND_PROTOCOLS_DIRECTORY wayland-protocols pkgdatadir)
    find_package(CLI11 REQUIRED)
    find_package(Qt6 REQUIRED COMPONENTS Core DBus Quick Svg Widgets)
endif()

if(BUILD_TESTING)
    find_package(GTest REQUIRED)
    find_path(RAPIDCHECK_INCLUDE_DIR rapidcheck.h REQUIRED)
    find_library(RAPIDCHECK_LIBRARY rapidcheck REQUIRED)
    include(GoogleTest)
    if(NOT VELLO_LOWER_ROOMS_ONLY)
        find_package(Qt6 REQUIRED COMPONENTS Test)
        pkg_check_modules(XCB_TEST REQUIRED IMPORTED_TARGET xcb xcb-shape xcb-xtest)
    endif()
endif()
if(VELLO_BUILD_BENCHMARKS)
    find_package(benchmark REQUIRED)
    find_path(LIQUID_INCLUDE_DIR liquid/liquid.h REQUIRED) # measured beside the filters
    find_library(LIQUID_LIBRARY liquid REQUIRED)
endif()
