// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Everything that a channel view needs, without a service: the singletons, a store in a temporary
// folder, an own user whose requests go to a loopback socket that keeps and never answers them.

#include "dis_listen.h"
#include "dis_manager.h"
#include "dis_text_document.h"
#include "gui_icons.h"
#include "model_fixture.h"
#include "settle.h"

#include <QTcpServer>

#include <gtest/gtest.h>

#include <functional>

// The id of a message at that many milliseconds after the start of 2026; counter tells those of one
// millisecond apart.
FlakeId idAt(qint64 msecs, quint64 counter = 0);

// Keeps what it is sent. No answer: one to the gateway's handshake would end the session, and that
// empties the store.
class RequestSink : public QTcpServer {
public:
    RequestSink();
    QString httpUrl() const;

    QByteArray received;
};

struct ChatMessage {
    FlakeId id;
    FlakeId author;
    QString text;
};

class ChatWorld {
public:
    ChatWorld();
    ~ChatWorld();

    FlakeId const ownUser{ 1000 };
    FlakeId const guild{ 50 };
    FlakeId const channel{ 60 };

    // A session whose own user is known, in a guild with one text channel "general".
    void connectOwnUser();
    QByteArray const& requests() const { return m_requests.received; }

    void exec(QString const& sql) { m_model.run(sql.toUtf8().constData()); }
    void addUser(FlakeId id, QString const& name);
    void addMessages(int count, std::function<ChatMessage(int)> const& message);
    void addMessage(FlakeId id, FlakeId author, QString const& text);
    // Of the own user, sent at that time.
    void addPending(FlakeId nonce, QString const& text);

    // As the session tells it after the commit.
    void announceCreated(FlakeId message, FlakeId author, FlakeId nonce = {});
    void announce(DisChange::ChangeType type, FlakeId message);
    void announceHistory();
    void announceReload();

private:
    RequestSink m_requests;
    ModelWorld m_model;
    NakGuiIcons m_icons;
    std::unique_ptr<DisManager> m_manager;
    std::unique_ptr<DisListenManager> m_listen;
    std::unique_ptr<DisTextDocumentManager> m_documents;
};

// A test with its own world.
class ChatTest : public testing::Test {
protected:
    ChatWorld world;
};
