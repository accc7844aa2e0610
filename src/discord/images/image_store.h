// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A small database of picture files as they were downloaded, so that a second start needs no
// network. Opened by the first request. It holds a bounded number of bytes: when it is full, the
// quarter of each table that was stored longest ago goes. A damaged file is thrown away and begun
// anew. User-interface thread only.

#include "nak_stmt.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class ImageStore {
public:
    struct Options {
        QString path;
        char const* schema = nullptr; // every table has an id as its first column
        std::vector<char const*> tables;
        char const* openPragmas = nullptr; // may be null
        qint64 maxBytes = qint64(32) << 20;
    };

    explicit ImageStore(Options options);
    ~ImageStore();
    ImageStore(ImageStore const&) = delete;
    ImageStore& operator=(ImageStore const&) = delete;

    using Bind = std::function<void(NakStmt&)>;
    // The first column of the first row; empty if there is none.
    QByteArray load(char const* sql, Bind const& bind);
    // A picture so large that it would drive out many others is not kept.
    void save(char const* sql, QByteArray const& imageData, Bind const& bind);
    void run(char const* sql, Bind const& bind);

private:
    void lazyInit();
    void close();
    void rebuildIfDamaged();
    void dropOldestIfFull();
    qint64 usedBytes();

    Options const m_options;
    sqlite3* m_db = nullptr;
};
