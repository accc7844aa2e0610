// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The icon of all windows, and what the whole application shows of the preferences: the theme's
// colours and the font.
// User-interface thread; owned by the application.

#include <QFont>

#include <array>

struct NakPreferences;

class AppLook {
public:
    // Once, before anything sets the application's font. A foreign style keeps its own colours.
    void start(bool hasForeignStyle);

    // Cheap when nothing of the look changed.
    void show(NakPreferences const& preferences);

private:
    void showTheme(qint32 themeType);
    void showFont(NakPreferences const& preferences);
    void setAppFont(QFont const& font);

    bool m_hasForeignStyle = false;
    qint32 m_themeType = -1; // what is on screen; -1: what was there at the start
    std::array<QFont, 3> m_classFonts;
};
