// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A store in a directory of its own, fed with events written as JSON text and read back as text.

#include "dis_db_prepared.h"
#include "dis_events.h"
#include "event_maker.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <string>

class Store {
public:
    Store();
    // One more connection to another's file.
    explicit Store(QString const& otherPath);
    ~Store();
    Store(Store const&) = delete;
    Store& operator=(Store const&) = delete;

    DisClientImpl::DisEventOutcome dispatch(char const* name, QByteArray json);
    // The same for a tree in hand.
    DisClientImpl::DisEventOutcome dispatch(Dread::VString name, Dread::Ctx const& ctx,
                                            Dread::VMap const& data);
    // The same for what was made, if it is a map.
    DisClientImpl::DisEventOutcome dispatch(EventMaker const& maker);
    DisChanges flushStatuses();
    void exec(std::string const& sql);

    // Rows of a query, one a line, values between bars.
    std::string rows(std::string const& sql) const;
    // Every row of every table that is not empty, in the order of names and values.
    std::string dump() const { return dump(db); }
    static std::string dump(sqlite3* db);

    QTemporaryDir directory;
    QString path;
    sqlite3* db = nullptr;
    DisDbPrepared prepared;
    DisClientImpl::DisEventState state;
};

// A store that holds such rows from the start, with the cache over it.
class CachedStore : public Store {
public:
    explicit CachedStore(char const* sql);
    ~CachedStore();
};

// Calls function(ctx, root) with the tree of a JSON document.
void withJson(QByteArray json, std::function<void(Dread::Ctx const&, Dread::Val const&)> function);

// A GUILD_CREATE with so many members, of the ids from 10,000 on.
QByteArray largeGuild(char const* id, int members, char const* userName);

// "MessageCreated 1 2 3; GuildChanged 7", with "reload" for a record that tells to reload.
std::string changesText(DisChanges const& changes);
// The same, and behind it whatever else the outcome tells.
std::string outcomeText(DisClientImpl::DisEventOutcome const& outcome);

// The lines that only before has, each after a minus, then those that only after has, each after a
// plus. Empty when they hold the same lines.
std::string lineDifference(std::string const& before, std::string const& after);
