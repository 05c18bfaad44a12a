#pragma once
// A host with the plug-in of these tests, made fresh for a test.

#include <gtest/gtest.h>

#include <string>

#include "FreshHost.h"

namespace zorhost {

struct TestHost : FreshHost {
    explicit TestHost(HostOptions options = {});

    Object Probe(int number) { return host.New("Probe", number); }
    std::string TakeLog() { return host.CallShared("Probe", "TakeLog").AsText(); }
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
