// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Takes the indexes of the tables of guilds and users away, and makes them anew when it goes. Over
// tens of thousands of new rows that is a sort and a run of appends, where keeping the indexes up
// to date would write to random pages: a quarter of the time of the whole. To be used inside a
// transaction, so that no other connection ever sees the tables without them.

#include <QByteArray>
#include <QVector>

struct sqlite3;

class DisIndexPause {
public:
    explicit DisIndexPause(sqlite3* db);
    ~DisIndexPause();
    DisIndexPause(DisIndexPause const&) = delete;
    DisIndexPause& operator=(DisIndexPause const&) = delete;

private:
    sqlite3* m_db;
    QVector<QByteArray> m_creates; // as the schema made them
};
