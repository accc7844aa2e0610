// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "app_updates.h"
#include "nak_application.h"
#include "startup.h"

#include <gtest/gtest.h>

TEST(Startup, DroppedMessages)
{
    struct {
        char const* message;
        bool dropped;
    } const messages[] = {
        { "QObject: something else", false },
        { "libpng warning: iCCP: known incorrect sRGB profile", true },
        { "Libpng warning", false },
        { "about libpng", false },
        { "QObject::startTimer: Timers cannot be started from another thread", true },
        { "QObject::startTimer: Timers cannot be started from another thread", false },
        { "QObject::startTimer: other text", false },
        { "libpng error", true },
        { "", false },
    };
    bool startTimerSeen = false;
    for (auto const& m : messages)
        EXPECT_EQ(NakStartup::dropsQtMessage(QString::fromLatin1(m.message), &startTimerSeen),
                  m.dropped)
            << m.message;
}

TEST(Startup, AllowUpdates)
{
    struct {
        char const* value; // null: not set
        bool disabled;
    } const cases[] = {
        { nullptr, false }, { "0", true },   { "00", true },  { "1", false },
        { "", false },      { "no", false }, { "0x", false },
    };
    for (auto const& c : cases) {
        qunsetenv("NAKWIRE_ALLOW_UPDATES");
        if (c.value)
            qputenv("NAKWIRE_ALLOW_UPDATES", c.value);
        NakAppUpdates::readEnvironment();
        EXPECT_EQ(NakAppUpdates::isForcefullyDisabled, c.disabled) << c.value;
    }
}

// What the user set himself is left to what he starts from here.
TEST(Startup, GlIsLeftOutHereOnly)
{
    for (QByteArray const own : { "", "xcb_egl" }) {
        qunsetenv("QT_XCB_GL_INTEGRATION");
        if (!own.isEmpty())
            qputenv("QT_XCB_GL_INTEGRATION", own);
        NakStartup::setEnvironment();
        EXPECT_EQ(qgetenv("QT_XCB_GL_INTEGRATION"), own.isEmpty() ? "none" : own);
        NakStartup::clearEnvironment();
        EXPECT_EQ(qgetenv("QT_XCB_GL_INTEGRATION"), own);
    }
}

TEST(Application, CappedThreadCount)
{
    struct {
        int ideal;
        int poolMaximum;
        int capped;
    } const cases[] = {
        { 1, 64, 1 },  { 2, 64, 1 },  { 3, 64, 2 }, { 5, 64, 2 },   { 6, 64, 3 }, { 11, 64, 5 },
        { 12, 64, 6 }, { 64, 64, 6 }, { 64, 3, 3 }, { -1, 64, 64 }, { 4, 0, 0 },
    };
    for (auto const& c : cases)
        EXPECT_EQ(NakApplicationImpl::cappedThreadCount(c.ideal, c.poolMaximum), c.capped)
            << c.ideal << ' ' << c.poolMaximum;
}
