// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// What reaches the user-interface thread of a row of events, in its order.

#include "signed_in.h"
#include "store_fixture.h"

TEST(PostedOrder, EachEventTellsItsOwnBeforeTheNextOne)
{
    SignedIn on;
    DisClient* const client = &on.client;
    QStringList told;
    auto const add = [&](char const* word, std::initializer_list<FlakeId> ids) {
        told << QString::fromLatin1(word);
        for (FlakeId const id : ids)
            told.last() += QLatin1Char(' ') + id.toString();
    };
    QObject::connect(
        client, &DisClient::messageCreated,
        [&](FlakeId const& message, FlakeId const& channel, FlakeId const& author, FlakeId const&) {
            add("message", { message, channel, author });
        });
    QObject::connect(client, &DisClient::directMessageChannelCreated,
                     [&](FlakeId const& channel) { add("private", { channel }); });
    QObject::connect(client, &DisClient::messageAckReceived,
                     [&](FlakeId const& user, FlakeId const& channel, FlakeId const& message) {
                         add("ack", { user, channel, message });
                     });
    QObject::connect(client, &DisClient::disChanges, [&](DisChanges const& changes) {
        told << QString::fromStdString(changesText(changes));
    });
    struct Event {
        char const* name;
        char const* d;
    };
    for (Event const& event : {
             Event{ "MESSAGE_CREATE", R"({"id":"600","channel_id":"20","author":{"id":"3"}})" },
             Event{ "MESSAGE_UPDATE", R"({"id":"600","channel_id":"20","embeds":[]})" },
             Event{ "MESSAGE_DELETE", R"({"id":"600","channel_id":"20"})" },
             Event{ "CHANNEL_CREATE", R"({"id":"50","type":1})" },
             Event{ "MESSAGE_ACK", R"({"channel_id":"20","message_id":"600"})" },
             Event{ "USER_UPDATE", R"({"id":"3"})" },
             Event{ "CALL_CREATE",
                    R"({"channel_id":"50","voice_states":[
                        {"session_id":"s","user_id":"4","channel_id":"50"},
                        {"session_id":"t","user_id":"3","channel_id":"50"}]})" },
             Event{ "GUILD_CREATE", R"({"id":"10","name":"G"})" },
             Event{ "RELATIONSHIP_ADD", R"({"id":"7","type":1})" },
         })
        on.service.sendDispatch(QString::fromLatin1(event.name), object(event.d));
    EXPECT_TRUE(waitUntil([&] {
        return !told.isEmpty() && told.last().startsWith(QLatin1String("RelationshipAdded"));
    }));
    QString const text = told.join(QLatin1Char('|')).replace(on.me.toString(), QLatin1String("me"));
    EXPECT_EQ(text.toStdString(),
              "message 600 20 3|MessageCreated 600 20 3|MessageChanged 600 20 3|"
              "MessageDeleted 600 20|private 50|ChannelChanged 50|ack me 20 600|"
              "UserVoiceStateChanged 4; UserVoiceStateChanged 3|"
              "GuildChanged 10; GuildMemberAdded 10 me|RelationshipAdded 7 1");
}
