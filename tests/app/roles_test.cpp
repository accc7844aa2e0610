// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "program_fixture.h"

TEST(Quit, WindowsGoBeforeServices)
{
    std::string const begun = "quit has begun\nwindow is gone\nits child is gone\n"
                              "other window is gone\nservice goes down\n";
    std::pair<char const*, std::string> const cases[] = {
        { "good-service", begun + "service is gone\nloop has ended\napplication is gone\n" },
        // The deadline passes, and the destructor deletes it.
        { "hanging-service", begun + "loop has ended\nservice is gone\napplication is gone\n" },
    };
    for (auto const& [role, output] : cases) {
        Surroundings const surroundings;
        Finished const finished = runRole(surroundings, role);
        EXPECT_EQ(finished.status, 0) << finished.standardError;
        EXPECT_EQ(finished.standardOutput, output) << finished.standardError;
        EXPECT_TRUE(surroundings.temporaryFiles().isEmpty());
    }
}

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
        surroundings.set("QT_STYLE_OVERRIDE", QLatin1String(c.inherited));
        if (c.engine)
            surroundings.set("NAKWIRE_STYLE_ENGINE", QLatin1String(c.engine));
        Finished const finished = runRole(surroundings, "print-style");
        EXPECT_EQ(finished.standardOutput,
                  std::string(c.style) + "\nloop has ended\napplication is gone\n");
        EXPECT_EQ(finished.standardError.find("Custom style engine") != std::string::npos,
                  *c.warns != '\0');
        EXPECT_NE(finished.standardError.find(c.warns), std::string::npos)
            << finished.standardError;
    }
}
