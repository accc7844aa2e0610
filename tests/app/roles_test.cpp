// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "surroundings.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

struct RoleCase {
    char const* role;
    char const* output;
};

Finished runRole(Surroundings const& surroundings, char const* role)
{
    return run(surroundings, QCoreApplication::applicationFilePath(),
               { QStringLiteral("--child"), QString::fromLatin1(role) });
}

class Roles : public testing::TestWithParam<RoleCase> { };

} // namespace

TEST_P(Roles, Output)
{
    Surroundings const surroundings;
    Finished const finished = runRole(surroundings, GetParam().role);
    EXPECT_EQ(finished.status, 0) << finished.standardError;
    EXPECT_EQ(finished.standardOutput, GetParam().output) << finished.standardError;
    EXPECT_TRUE(surroundings.temporaryFiles().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Application, Roles,
    testing::Values(
        // The deadline passes, and the destructor deletes it.
        RoleCase{ "hanging-service",
                  "quit has begun\nservice goes down\nloop has ended\n"
                  "service is gone\napplication is gone\n" },
        RoleCase{ "good-service",
                  "quit has begun\nservice goes down\nservice is gone\n"
                  "loop has ended\napplication is gone\n" },
        RoleCase{ "two-windows",
                  "windows are shown\naccounts may connect\nloop has ended\n"
                  "application is gone\n" },
        RoleCase{ "close-last", "one window is left\nloop has ended\napplication is gone\n" },
        RoleCase{ "close-last-tray", "one window is left\nloop has ended\napplication is gone\n" },
        RoleCase{ "close-last-stay", "one window is left\nloop has ended\napplication is gone\n" },
        RoleCase{ "close-last-tray-stay",
                  "one window is left\nstays\nloop has ended\napplication is gone\n" },
        RoleCase{ "quit-with-windows",
                  "window is gone\nits child is gone\nother window is gone\nservice goes down\n"
                  "service is gone\nloop has ended\napplication is gone\n" }),
    [](testing::TestParamInfo<RoleCase> const& test) {
        return QString::fromLatin1(test.param.role)
            .replace(QLatin1Char('-'), QLatin1Char('_'))
            .toStdString();
    });

TEST(Style, Engine)
{
    struct {
        char const* engine; // null: not set
        char const* inherited; // QT_STYLE_OVERRIDE
        char const* style;
        char const* warns;
    } const cases[] = {
        { nullptr, "", "NakwireStyle", "" },
        { nullptr, "windows", "NakwireStyle", "" },
        { "", "windows", "NakwireStyle", "" },
        { "NAKWIRE", "windows", "NakwireStyle", "" },
        { "fUsIoN", "windows", "QFusionStyle", "" },
        { "windows", "", "QWindowsStyle", "" },
        { "no such", "windows", "NakwireStyle",
          "Custom style engine \"no such\" specified, but was unable to be constructed via "
          "QStyleFactory. Defaulting to Nakwire." },
    };
    for (auto const& c : cases) {
        Surroundings surroundings;
        surroundings.environment.insert(QStringLiteral("QT_STYLE_OVERRIDE"),
                                        QString::fromLatin1(c.inherited));
        if (c.engine)
            surroundings.environment.insert(QStringLiteral("NAKWIRE_STYLE_ENGINE"),
                                            QString::fromLatin1(c.engine));
        Finished const finished = runRole(surroundings, "print-style");
        EXPECT_EQ(finished.standardOutput,
                  std::string(c.style) + "\nloop has ended\napplication is gone\n");
        EXPECT_EQ(finished.standardError.find("Custom style engine") != std::string::npos,
                  *c.warns != '\0');
        EXPECT_NE(finished.standardError.find(c.warns), std::string::npos)
            << finished.standardError;
    }
}
