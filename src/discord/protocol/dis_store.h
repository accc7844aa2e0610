// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The file of everything that is known about Discord during one run. It is a cache of the servers
// and no record: deleted at program start, emptied whenever a session is lost, so it has no version
// and no migrations. Each thread opens its own connection; the session workers write, the user
// interface reads.

#include <QString>

struct sqlite3;

// Removes an old file at path, creates a new one with the schema and returns the connection. A
// failure ends the program.
sqlite3* createDisStore(QString const& path);

// One more connection to a store that createDisStore made. A failure ends the program.
sqlite3* openDisStore(QString const& path);

// Deletes all rows of all tables, in one transaction; the tables stay.
void clearDisStore(sqlite3* db);

// After a whole account was written or read: lets go of the pages that the connection cached last,
// which are not those that are needed next, and of what the allocator keeps between blocks in use.
void giveBackDisStoreMemory(sqlite3* db);
