// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a session's events should leave in the store, worked out with plain maps and from the JSON
// form of the events: nothing here is shared with the code under test. Covers the events of the
// kept session, in the shapes in which they stand there.

#include <QJsonArray>
#include <QJsonObject>

#include <map>
#include <string>
#include <vector>

class SessionModel {
public:
    void dispatch(QString const& name, QJsonObject const& data);
    // As Store::dump.
    std::string dump() const;

private:
    using Cells = std::vector<std::string>;
    struct User {
        std::string name, discrim, avatar;
        bool bot = false;
        bool premium = false;
        int status = 1;
        std::string game = "null";
        std::string gameUrl = "null";
    };

    // The row stands under its first cells, so many as the table's key has.
    void put(char const* table, size_t keys, Cells cells);
    void remove(char const* table, Cells const& key);
    Cells* find(char const* table, Cells const& key);

    void upsertUser(QJsonObject const& user);
    void insertUser(QJsonObject const& user);
    void setStatus(QJsonObject const& presence);
    void ready(QJsonObject const& data);
    void guild(QJsonObject const& guild);
    void member(std::string const& guild, QJsonObject const& member);
    void channel(std::string const& guild, QJsonObject const& channel);
    void privateChannel(QJsonObject const& channel);
    void settings(QJsonObject const& data);
    void message(QJsonObject const& message);
    void attached(QJsonObject const& message);
    void raiseMark(std::string const& channel, std::string const& message);

    std::string m_own;
    std::map<std::string, User> m_users;
    std::map<std::string, std::map<Cells, Cells>> m_tables;
    int m_serial = 0; // key of rows in tables without one
};
