// SPDX-License-Identifier: MIT
#pragma once

/// Import and export of the members that the host's SDK library defines, and export of a module's
/// `getLibDesc`. The only header that asks which system this is; `QUOR_BUILD` is defined while that
/// library itself is being built.
#if defined(_WIN32)
#define QUOR_EXPORT __declspec(dllexport)
#if defined(QUOR_BUILD)
#define QUOR_API __declspec(dllexport)
#else
#define QUOR_API __declspec(dllimport)
#endif
#else
#define QUOR_EXPORT __attribute__((visibility("default")))
#define QUOR_API __attribute__((visibility("default")))
#endif
