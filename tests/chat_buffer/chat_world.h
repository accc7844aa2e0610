// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Everything that a channel view needs, without a service: the singletons, a store in a temporary
// folder, an own user whose requests go to a loopback socket that notes and never answers them.

#include "dis_client.h"
#include "dis_events.h"
#include "dis_listen.h"
#include "dis_manager.h"
#include "dis_text_document.h"
#include "global_events.h"
#include "gui_icons.h"
#include "preferences.h"

#include <QStringList>
#include <QTcpServer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>

// Readable failures.
inline void PrintTo(QString const& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

// The id of a message at that many milliseconds after the start of 2026; counter tells those of one
// millisecond apart.
FlakeId idAt(qint64 msecs, quint64 counter = 0);

// Notes the request line and the body of each request.
class RequestSink : public QTcpServer {
public:
    RequestSink();
    QString httpUrl() const;
    // "POST /api/v6/channels/7/messages {...}" in the order of arrival.
    QStringList requests() const { return m_requests; }

private:
    void noteRequests(QTcpSocket* socket);

    QHash<QTcpSocket*, QByteArray> m_received;
    QStringList m_requests;
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
    RequestSink& requests() { return m_requests; }

    void exec(QString const& sql);
    void addUser(FlakeId id, QString const& name, bool bot = false);
    void addMessage(FlakeId id, FlakeId author, QString const& text);
    void addMessages(int count, std::function<FlakeId(int)> const& id,
                     std::function<FlakeId(int)> const& author,
                     std::function<QString(int)> const& text);
    FlakeId addPending(FlakeId nonce, FlakeId author, QString const& text, qint64 timestamp);

    // As the session tells it after the commit.
    void announceCreated(FlakeId message, FlakeId author, FlakeId nonce = {});
    void announce(DisChange::ChangeType type, FlakeId message);
    void announceHistory();
    void announceReload();

private:
    QTemporaryDir m_dir;
    RequestSink m_requests;
    NakPreferences m_preferences;
    std::unique_ptr<NakGlobalEvents> m_globalEvents;
    std::unique_ptr<NakGuiIcons> m_icons;
    std::unique_ptr<DisClient> m_client;
    std::unique_ptr<DisManager> m_manager;
    std::unique_ptr<DisListenManager> m_listen;
    std::unique_ptr<DisTextDocumentManager> m_documents;
    DisSession* m_session = nullptr;
};

// A test with its own world.
class ChatTest : public testing::Test {
protected:
    ChatWorld world;
};

// Delivers what is posted and due, without waiting for what is not.
void settle();
