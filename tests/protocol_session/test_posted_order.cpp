// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// What reaches the user-interface thread of a row of events, in its order.

#include "signed_in.h"

TEST(PostedOrder, EachEventTellsItsOwnBeforeTheNextOne)
{
    SignedIn on;
    ASSERT_NE(on.session, nullptr);
    DisClient* const client = on.test.client.get();
    QStringList told;
    auto const add = [&](char const* word, std::initializer_list<FlakeId> ids) {
        QString line = QString::fromLatin1(word);
        for (FlakeId const id : ids)
            line +=
                QLatin1Char(' ') + (id == on.test.userId ? QStringLiteral("me") : id.toString());
        told << line;
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
        told << QStringLiteral("changes");
        for (DisChange const& change : changes.items)
            add(std::to_string(static_cast<int>(change.type)).c_str(), { change.words[0] });
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
    EXPECT_TRUE(waitUntil([&] { return told.contains(QStringLiteral("21 7")); }));
    EXPECT_EQ(told.join(QLatin1Char('|')).toStdString(),
              "message 600 20 3|changes|2 600|changes|3 600|changes|4 600|private 50|changes|1 50|"
              "ack me 20 600|changes|7 4|7 3|changes|0 10|10 10|changes|21 7");
}
