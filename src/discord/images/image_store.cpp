// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "image_store.h"

#include "event_log.h"

#include <QFile>

#include <sqlite3.h>

namespace {

constexpr int version = 1;
constexpr int shareOfOneImage = 16; // of the store's bytes, at most

bool isDamage(int code)
{
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

// Looks at the file without the ways of opening that end the program when they meet garbage.
bool isReadable(QString const& path)
{
    sqlite3* db = nullptr;
    int code =
        sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READONLY, nullptr);
    if (code == SQLITE_OK)
        code = sqlite3_exec(db, "select count(*) from sqlite_master", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    return !isDamage(code);
}

} // namespace

ImageStore::ImageStore(Options options)
    : m_options(std::move(options))
{
}

ImageStore::~ImageStore()
{
    close();
}

QByteArray ImageStore::load(char const* sql, Bind const& bind)
{
    lazyInit();
    QByteArray data;
    {
        NakStmt stmt(m_db, sql);
        bind(stmt);
        if (stmt.step())
            data = stmt.colBlobByteArray(0);
    }
    rebuildIfDamaged();
    return data;
}

void ImageStore::save(char const* sql, QByteArray const& imageData, Bind const& bind)
{
    if (imageData.size() > m_options.maxBytes / shareOfOneImage)
        return;
    run(sql, bind);
    dropOldestIfFull();
}

void ImageStore::run(char const* sql, Bind const& bind)
{
    lazyInit();
    {
        NakStmt stmt(m_db, sql);
        bind(stmt);
        stmt.step();
    }
    rebuildIfDamaged();
}

void ImageStore::lazyInit()
{
    if (m_db)
        return;
    if (QFile::exists(m_options.path) && !isReadable(m_options.path))
        QFile::remove(m_options.path);
    m_db = NakSql::openDbWithSchemaAndUserVersion(m_options.path, m_options.schema, version);
    sqlite3_exec(m_db, "PRAGMA synchronous=OFF;", nullptr, nullptr, nullptr);
    if (m_options.openPragmas)
        sqlite3_exec(m_db, m_options.openPragmas, nullptr, nullptr, nullptr);
}

void ImageStore::close()
{
    if (m_db)
        NakSql::closeDb(m_db);
    m_db = nullptr;
}

void ImageStore::rebuildIfDamaged()
{
    if (!isDamage(sqlite3_errcode(m_db) & 0xff))
        return;
    close();
    QFile::remove(m_options.path);
    EvLogGlobal::addLogEvent(EvLog::Category::Images, EvLog::Severity::Warn,
                             QStringLiteral("A damaged store of pictures is begun anew"));
    lazyInit();
}

void ImageStore::dropOldestIfFull()
{
    if (usedBytes() <= m_options.maxBytes)
        return;
    // Row ids grow with each row that is stored, replaced ones too.
    for (char const* table : m_options.tables) {
        QByteArray const sql = QByteArray("delete from ") + table
            + " where rowid <= (select min(rowid) + (max(rowid) - min(rowid)) / 4 from " + table
            + ")";
        run(sql.constData(), [](NakStmt&) {});
    }
}

qint64 ImageStore::usedBytes()
{
    auto const pragma = [this](char const* sql) {
        NakStmt stmt(m_db, sql);
        return stmt.step() ? stmt.colInt64(0) : 0;
    };
    return (pragma("pragma page_count") - pragma("pragma freelist_count"))
        * pragma("pragma page_size");
}
