#pragma once

// Marks what the host's library Core offers to a module and to the host's own programs.
#if defined(_WIN32)
#if defined(CORE_BUILD)
#define CORE_API __declspec(dllexport)
#else
#define CORE_API __declspec(dllimport)
#endif
#else
#define CORE_API __attribute__((visibility("default")))
#endif
