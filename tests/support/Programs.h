// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PROGRAMS_H
#define PROGRAMS_H

// The paths of the programs of this build that tests start. They stand in one source that the build
// generates, so that the tests' own objects are the same in every build, and come from the compiler cache.
extern const char DEMO_REGISTRAR[];
extern const char EXAMPLE_CLIENT[];
extern const char SCRIPTED_SIPD[];
extern const char SIPD[];
extern const char SIP_PROFILE[];
extern const char TIME_SHIFT[]; // a library to preload

#endif
