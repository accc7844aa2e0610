// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_rows.h"

using namespace NakSettingsRows;

QVector<Group> NakSettingsRows::fontsAndColors()
{
    return {
        { "Colors",
          {
              { "&Theme",
                &P::themeType,
                "A file custom_theme.json beside the settings takes its place.",
                { 0, 0 },
                Look::Theme },
          } },
        { "Fonts",
          {
              { "&Messages", &P::messageBufferFont },
              { "&Code", &P::messageMonospaceFont, nullptr, { 0, 0 }, Look::Monospace },
              { "Side &bar", &P::sourceListFont },
              { "&Use a font of my own for menus, buttons and everything else",
                &P::useAppOverride },
              needing(&P::useAppOverride, { "&Everything else", &P::appOverrideFont }),
          } },
    };
}
