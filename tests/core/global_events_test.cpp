// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "global_events.h"

#include <gtest/gtest.h>

using Service = NakHackAnyConnectedService::Type;

TEST(GlobalEvents, TellOnlyWhatChanges)
{
    NakGlobalEvents events;
    std::string told;
    QObject::connect(&events, &NakGlobalEvents::connStatusChanged,
                     [&](NakGenericConnStatus const& status) {
                         told += std::to_string(static_cast<int>(status));
                         EXPECT_EQ(events.lastConnStatus(), status);
                     });
    QObject::connect(&events, &NakGlobalEvents::anyServicesConnectedChanged, [&](bool any) {
        told += any ? '+' : '-';
        EXPECT_EQ(events.hack_anyServicesConnected(), any);
    });
    QObject::connect(&events, &NakGlobalEvents::anyAccountConnectionProblemChanged,
                     [&] { told += events.anyAccountConnectionProblem() ? '!' : '.'; });
    for (int const status : { 0, 1, 1, 2, 3, 3, 1, 0 })
        events.updateConnStatus(static_cast<NakGenericConnStatus>(status));
    struct {
        Service service;
        bool connected;
    } const steps[] = {
        { Service::Discord, false }, { Service::Discord, true },  { Service::Discord, true },
        { Service::Slack, true },    { Service::Discord, false }, { Service::Slack, false },
        { Service::Discord, true },
    };
    for (auto const& step : steps)
        events.hack_setServiceConnected(step.service, step.connected);
    events.clearAccountConnectionProblems();
    for (int i = 0; i < 2; ++i)
        events.addAccountConnectionProblem(QString());
    for (int i = 0; i < 2; ++i)
        events.clearAccountConnectionProblems();
    EXPECT_EQ(told,
              "12310"
              "+-+"
              "!.");
}
