#pragma once
// A host with the plug-in of these tests, made fresh for a test.

#include <gtest/gtest.h>

#include <string>

#include "zorhost/Host.h"

namespace zorhost {

// A path under which the library is opened as if for the first time in this process: plug-ins are started once and keep
// what they were told.
std::filesystem::path FreshPlugin();

// A host of that plug-in. The path in options is filled in.
struct TestHost {
    explicit TestHost(HostOptions options = {});
    ~TestHost();

    Object Probe(int number) { return host.New("Probe", number); }
    std::string TakeLog() { return host.CallShared("Probe", "TakeLog").AsText(); }
    // What this host's test is to find at its end: nothing alive and nothing done wrong.
    void ExpectClean() const;

    std::filesystem::path plugin;
    Host host;
};

// The message of what the statement throws as Error; empty, with a failure, if it throws nothing.
template <class Statement>
std::string ErrorOf(Statement statement) {
    try {
        statement();
    } catch (const Error& error) {
        return error.what();
    }
    ADD_FAILURE() << "no Error was thrown";
    return {};
}

}  // namespace zorhost
