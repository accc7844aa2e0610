// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "global_events.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using Service = NakHackAnyConnectedService::Type;

TEST(GlobalEvents, ConnStatusIsToldOnlyWhenItChanges)
{
    NakGlobalEvents events;
    std::string told;
    QObject::connect(&events, &NakGlobalEvents::connStatusChanged,
                     [&](NakGenericConnStatus const& status) {
                         told += std::to_string(static_cast<int>(status));
                         EXPECT_EQ(events.lastConnStatus(), status);
                     });
    for (int status : { 0, 1, 1, 2, 3, 3, 1, 0 })
        events.updateConnStatus(static_cast<NakGenericConnStatus>(status));
    EXPECT_EQ(told, "12310");
}

TEST(GlobalEvents, AnyServiceConnected)
{
    NakGlobalEvents events;
    std::string told;
    QObject::connect(&events, &NakGlobalEvents::anyServicesConnectedChanged, [&](bool any) {
        told += any ? '+' : '-';
        EXPECT_EQ(events.hack_anyServicesConnected(), any);
    });
    struct {
        Service service;
        bool connected;
        char const* told;
    } const steps[] = {
        { Service::Discord, false, "" },   { Service::Discord, true, "+" },
        { Service::Discord, true, "+" },   { Service::Slack, true, "+" },
        { Service::Discord, false, "+" },  { Service::Slack, false, "+-" },
        { Service::Discord, true, "+-+" },
    };
    for (auto const& step : steps) {
        events.hack_setServiceConnected(step.service, step.connected);
        EXPECT_EQ(told, step.told);
    }
}

TEST(GlobalEvents, ConnectionProblem)
{
    NakGlobalEvents events;
    QSignalSpy const told(&events, &NakGlobalEvents::anyAccountConnectionProblemChanged);
    events.clearAccountConnectionProblems();
    EXPECT_EQ(told.count(), 0);
    events.addAccountConnectionProblem(QStringLiteral("a"));
    events.addAccountConnectionProblem(QStringLiteral("b"));
    EXPECT_EQ(told.count(), 1);
    EXPECT_TRUE(events.anyAccountConnectionProblem());
    events.clearAccountConnectionProblems();
    events.clearAccountConnectionProblems();
    EXPECT_EQ(told.count(), 2);
    EXPECT_FALSE(events.anyAccountConnectionProblem());
}
