#pragma once
// Hosts of fresh copies of a plug-in: worlds and versions differ from test to test, and plug-ins are started once in a
// process and keep what they were told.

#include <gtest/gtest.h>

#include "zorhost/Host.h"

namespace zorhost {

// A path under which the library is opened as if for the first time in this process.
std::filesystem::path FreshCopyOf(const std::filesystem::path& plugin);

struct FreshHost {
    // The path in options is filled in.
    FreshHost(const std::filesystem::path& plugin, HostOptions options);
    ~FreshHost();
    // What this host's test is to find at its end: nothing alive and nothing done wrong.
    void ExpectClean() const;

    std::filesystem::path plugin;
    Host host;
};

}  // namespace zorhost
