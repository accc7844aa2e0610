// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the tests of sessions stand on: the event log as text, a client with a store of its own, and
// a gateway that sends exactly the bytes that it is given.

#include "deflater.h"
#include "dis_client.h"
#include "dis_session.h"
#include "global_events.h"
#include "wait_until.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>
#include <QWebSocket>
#include <QWebSocketServer>

#include <gtest/gtest.h>

#include <memory>

// Follows the event log from where it stands at construction.
class LogLines {
public:
    LogLines();

    // Messages up to now, one per line, with the names of sessions written as SESS.
    QStringList all();
    std::string joined() { return all().join(QLatin1Char('\n')).toStdString(); }
    bool has(std::string const& text) { return joined().find(text) != std::string::npos; }
    bool waitFor(std::string const& text)
    {
        return waitUntil([&] { return has(text); });
    }

private:
    QByteArray readNew();

    qint64 m_start;
};

// The waits of real sessions would take minutes.
DisSessionTimings quickTimings();

class TestClient {
public:
    explicit TestClient(QString const& apiUrl, DisSessionTimings const& timings = quickTimings());
    ~TestClient();

    DisSession* connectTo(QString const& gatewayUrl, QString const& token = defaultToken());
    // Connects and waits for the own user to be known.
    DisSession* connectUntilReady(QString const& gatewayUrl);
    // One value from the store, as text.
    QString value(char const* sql) const;
    bool waitForState(char const* state); // the last one entered

    static QString defaultToken() { return QStringLiteral("mfa.token-of-the-tests"); }

    NakGlobalEvents events;
    std::unique_ptr<DisClient> client;
    QStringList states; // entered by the last session
    QStringList gatewayUrls; // to be kept with the account
    QStringList rejectedTokens;
    QVector<FlakeId> historyFetched; // channels
    int reloads = 0; // records of changes that tell to reload
    FlakeId userId; // from READY

private:
    QTemporaryDir m_dir;
};

// One connection at a time, on loopback.
class BareGateway {
public:
    BareGateway();

    QString url() const { return server.serverUrl().toString(); }
    bool waitForConnection();
    // Past the stream.
    void sendBytes(QByteArray const& message) { socket->sendBinaryMessage(message); }
    void send(QJsonObject const& frame, int flush = Z_SYNC_FLUSH);
    void sendHello(QJsonValue const& interval = 41'250);
    // Takes the next frame from the client: waits for it; empty if none comes.
    QJsonObject take();

    QWebSocketServer server;
    QWebSocket* socket = nullptr;
    Deflater deflater;
    QVector<QJsonObject> received;
    int connections = 0;
};

// A client whose socket to the gateway is open; neither has said anything yet.
class BareSession : public testing::Test {
protected:
    void SetUp() override;
    void greet(QJsonValue const& interval = 41'250); // hello, and identify in return
    void becomeReady(QJsonArray const& guilds = {}); // and is told of them

    BareGateway gateway;
    TestClient test{ QStringLiteral("http://127.0.0.1:1/api/v6") };
    LogLines log;
};

std::string text(QJsonObject const& json);
QJsonObject object(char const* json);
QByteArray encoded(QJsonObject const& frame); // as a term
QJsonObject dispatch(char const* name, QJsonObject const& d, int seq);
