#pragma once

// A fixture whose test suite shares one JACK server, since a server takes a while to start
// on a busy machine; its tests leave the server as they found it. Skips where no server
// can run. `Base` is the fixture it extends.

#include "tests/support/JackServer.h"

#include <gtest/gtest.h>

template <class Base = ::testing::Test>
class JackSuiteTest : public Base {
protected:
    static void SetUpTestSuite() { server = JackServer::startForSuite(&startError); }
    static void TearDownTestSuite() {
        delete server;
        server = nullptr;
    }
    // The fixture's own SetUp runs once the server is known to be there.
    void SetUp() override {
        if (!JackServer::reasonToSkip().empty()) {
            GTEST_SKIP() << JackServer::reasonToSkip();
        }
        ASSERT_TRUE(server && server->isRunning()) << startError.toStdString();
        Base::SetUp();
    }

    static inline JackServer* server = nullptr;
    static inline QString startError;
};
