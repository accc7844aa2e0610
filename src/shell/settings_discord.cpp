// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_rows.h"

using namespace NakSettingsRows;

QVector<Group> NakSettingsRows::discord()
{
    return {
        { "People",
          {
              { "Show the &nicknames that people have in a server", &P::displayDiscordNicknames },
              { "Show the number behind &user names", &P::displayDiscriminator,
                "As in Name#1234." },
              { "Show in the chat who is &online", &P::displayUserStatusInChat },
              { "Show the &typing mark for myself too", &P::showOwnTypingIndicators },
          } },
        { "Pictures",
          {
              { "Show &avatars beside messages", &P::avatarsInChat },
              needing(&P::avatarsInChat,
                      { "Avatar si&ze", &P::chatAvatarSize, nullptr, { 8, 128, 1, " px" } }),
          } },
        { "Member list",
          {
              { "Show the &members of a channel", &P::userListVisible },
              needing(&P::userListVisible,
                      { "&Width", &P::userListWidth, nullptr, { 50, 1000, 5, " px" } }),
              needing(&P::userListVisible,
                      { "&Row height",
                        &P::userListRowSize,
                        nullptr,
                        { 0, 100, 1, " px", "As high as the text" } }),
          } },
        { "Notifications",
          {
              { "Tell me about frien&d requests", &P::notifyOnFriendRequests },
          } },
    };
}
