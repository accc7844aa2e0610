// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A service and a client that is signed in to it, and what the service received, as text.

#include "session_fixture.h"
#include "stage.h"

#include <string>

struct SignedIn {
    explicit SignedIn(DisSessionTimings const& timings = quickTimings());

    // The next request: method, path, query, all headers but those of the connection, the body.
    std::string nextRequest();
    std::string channelPath() const { return "/channels/" + channel.toString().toStdString(); }

    stage::Stage service;
    TestClient test;
    DisClient& client = *test.client;
    DisSession* session = nullptr;
    FlakeId me;
    FlakeId channel;
    int seen = 0; // requests
};

class SignedInTest : public testing::Test, protected SignedIn {
protected:
    void SetUp() override { ASSERT_NE(session, nullptr); }
    LogLines log; // since then
};

extern std::string const commonHeaders;
// A whole request from its first line and its body, with the headers that belong to such a one.
std::string wholeRequest(std::string const& firstLine, std::string const& body = {});
