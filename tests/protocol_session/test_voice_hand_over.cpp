// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
// Voice as far as the gateway's session has a part in it, with a line that only writes down what it
// is told.

#include "dis_voice_line.h"
#include "nak_stmt.h"
#include "signed_in.h"

namespace {

QString shown(FlakeId id)
{
    return id.isValid() ? id.toString() : QStringLiteral("none");
}

class Line : public IDisVoiceLine {
public:
    Line(QStringList* said, QObject* parent)
        : IDisVoiceLine(parent)
        , m_said(said)
    {
    }
    ~Line() override { *m_said << QStringLiteral("gone"); }
    void startConnection(DisVoiceConnParams const& params) override
    {
        QStringList const words{
            QStringLiteral("start"), shown(params.guildId), shown(params.channelId),
            params.sessionId,        params.token,          params.endpoint
        };
        *m_said << words.join(QLatin1Char(' '));
    }
    void setChannelId(FlakeId channel) override
    {
        *m_said << QStringLiteral("channel ") + shown(channel);
    }

private:
    QStringList* m_said;
};

// Outlives the client, whose lines write to it.
struct WhatWasSaid {
    QStringList said;
};

class VoiceHandOver : protected WhatWasSaid, public SignedInTest {
protected:
    VoiceHandOver()
    {
        QObject::connect(&client, &DisClient::messageAckReceived, [this] { ++m_acks; });
        NakStmt(client.db(),
                "insert into guild_voice_channel (id, guild_id, parent_id, position, "
                "bitrate, user_limit, name) values (12, 11, 0, 0, 0, 0, '')")
            .step();
        client.connectToVoiceChannel(me, FlakeId(12));
        EXPECT_EQ(log.joined(), "Nothing here can speak in a voice channel");
        client.setVoiceLineMaker(
            [this](DisVoiceConnParams const&, QObject* parent) { return new Line(&said, parent); });
        QObject::connect(&client, &DisClient::voiceLineCreated,
                         [this](FlakeId const& user, FlakeId const& where, IDisVoiceLine* line) {
                             EXPECT_EQ(user, me);
                             EXPECT_EQ(line, session->voiceLine());
                             said << QStringLiteral("created ") + shown(where);
                         });
    }

    std::string frame(int op)
    {
        QJsonObject out;
        EXPECT_TRUE(service.expectFrame(op, &out));
        return text(out.value(QStringLiteral("d")).toObject());
    }

    std::string takeSaid() { return std::exchange(said, {}).join(QLatin1Char('|')).toStdString(); }

    // What the line is told by the event. "{me}" stands for the own user.
    std::string after(char const* name, QByteArray d)
    {
        d.replace("{me}", me.toString().toLatin1());
        service.sendDispatch(QString::fromLatin1(name), object(d));
        int const before = m_acks; // answered after the event
        service.sendDispatch(QStringLiteral("MESSAGE_ACK"),
                             object(R"({"channel_id":"1","message_id":"2"})"));
        EXPECT_TRUE(waitUntil([&] { return m_acks > before; }));
        return takeSaid();
    }

private:
    int m_acks = 0;
};

constexpr char state[] = "VOICE_STATE_UPDATE";
constexpr char server[] = "VOICE_SERVER_UPDATE";

} // namespace

TEST_F(VoiceHandOver, GuildChannelFromJoiningToLeaving)
{
    client.connectToVoiceChannel(me, FlakeId());
    EXPECT_FALSE(client.anySessionsWithVoiceLine());
    client.connectToVoiceChannel(me, FlakeId(12));
    EXPECT_TRUE(client.anySessionsWithVoiceLine());
    EXPECT_EQ(takeSaid(), "") << "only after the current event";
    EXPECT_EQ(frame(4),
              R"({"channel_id":"12","guild_id":"11","self_deaf":false,"self_mute":false,)"
              R"("self_video":false})");
    EXPECT_TRUE(waitUntil([&] { return takeSaid() == "created 12"; }));
    client.connectToVoiceChannel(me, FlakeId(13)); // one line at a time
    struct {
        char const* name;
        char const* d;
        char const* said;
    } const steps[] = {
        { state, R"({"user_id":"7","session_id":"x","guild_id":"11","channel_id":"12"})", "" },
        { state, R"({"user_id":"{me}","session_id":"x","guild_id":"9","channel_id":"12"})", "" },
        { state, R"({"user_id":"{me}","session_id":"x","guild_id":"11","channel_id":null})", "" },
        { server, R"({"guild_id":"11","endpoint":"early:80","token":"t0"})", "" },
        { server, R"({"guild_id":"11","endpoint":null,"token":"t1"})", "" },
        { state, R"({"user_id":"{me}","session_id":"s","guild_id":"11","channel_id":"12"})", "" },
        { server, R"({"guild_id":"9","endpoint":"elsewhere","token":"t2"})", "" },
        { server, R"({"guild_id":"11","endpoint":"host:80","token":7})", "" },
        { server, R"({"guild_id":"11","endpoint":"host:80","token":"t3"})",
          "start 11 12 s t3 host:80" },
        { server, R"({"guild_id":"11","endpoint":"moved","token":"t4"})", "" },
        { state, R"({"user_id":"{me}","session_id":"s2","guild_id":"11","channel_id":"14"})", "" },
        { state, R"({"user_id":"{me}","session_id":"s","guild_id":"11","channel_id":null})",
          "channel none" },
        { state, R"({"user_id":"{me}","session_id":"s","guild_id":"11","channel_id":"12"})",
          "channel 12" },
    };
    for (auto const& step : steps)
        EXPECT_EQ(after(step.name, step.d), step.said) << step.d;
    client.sessionDisconnectFromVoiceChannel(me, FlakeId(14)); // it is not there
    EXPECT_TRUE(client.anySessionsWithVoiceLine());
    client.sessionDisconnectFromVoiceChannel(me, FlakeId(12));
    EXPECT_FALSE(client.anySessionsWithVoiceLine());
    EXPECT_EQ(takeSaid(), "") << "what is being said still gets out";
    EXPECT_EQ(frame(4),
              R"({"channel_id":null,"guild_id":"11","self_deaf":false,"self_mute":false})");
    EXPECT_TRUE(waitUntil([&] { return takeSaid() == "gone"; }));
}

TEST_F(VoiceHandOver, PrivateCallHasNoGuildAndGoesWithItsSession)
{
    client.synchronizePrivateChannelCalls(me, FlakeId(13));
    EXPECT_EQ(frame(13), R"({"channel_id":"13"})");
    client.connectToVoiceChannel(me, FlakeId(13));
    EXPECT_EQ(frame(4),
              R"({"channel_id":"13","guild_id":null,"self_deaf":false,"self_mute":false,)"
              R"("self_video":false})");
    EXPECT_TRUE(waitUntil([&] { return takeSaid() == "created 13"; }));
    after(state, R"({"user_id":"{me}","session_id":"s","guild_id":null,"channel_id":"13"})");
    EXPECT_EQ(after(server, R"({"endpoint":"host","token":"t"})"), "start none 13 s t host");
    client.disconnectAllSessions();
    EXPECT_TRUE(waitUntil([&] { return takeSaid() == "gone"; }));
}
