// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One prepared statement: a store's local, or a member of its table of statements, reset after each
// use. It must go before its connection is closed. Thread: that of the connection.
//
// Everything here stands in the header, since it is called per column of every row read and
// written.

#include "dread.h"
#include "flake_id.h"
#include "nak_sql.h"

#include <QByteArray>
#include <QString>

#include <sqlite3.h>

#include <utility>

class NakStmt {
public:
    // Prepares the whole text. The code goes to rcOut; without it, a failure is fatal.
    NakStmt(sqlite3* db, char const* sql, int* rcOut = nullptr);
    ~NakStmt()
    {
        if (m_stmt)
            sqlite3_finalize(m_stmt);
    }
    NakStmt(NakStmt&& other) noexcept
        : m_stmt(std::exchange(other.m_stmt, nullptr))
    {
    }
    NakStmt& operator=(NakStmt&& other) noexcept
    {
        std::swap(m_stmt, other.m_stmt);
        return *this;
    }
    NakStmt(NakStmt const&) = delete;
    NakStmt& operator=(NakStmt const&) = delete;

    // --- binding; parameters count from 1. SQLite copies the text and bytes unless told ---
    void bind(int index, QString const& text)
    {
        sqlite3_bind_text16(m_stmt, index, text.utf16(), text.size() * 2, SQLITE_TRANSIENT);
    }
    void bind(int index, QStringRef const& text)
    {
        sqlite3_bind_text16(m_stmt, index, text.unicode(), text.size() * 2, SQLITE_TRANSIENT);
    }
    void bind(int index, long value) { sqlite3_bind_int64(m_stmt, index, value); }
    void bind(int index, long long value) { sqlite3_bind_int64(m_stmt, index, value); }
    void bind(int index, int value) { sqlite3_bind_int(m_stmt, index, value); }
    void bind(int index, bool value) { sqlite3_bind_int(m_stmt, index, value ? 1 : 0); }
    void bind(int index, FlakeId id)
    {
        sqlite3_bind_int64(m_stmt, index, static_cast<sqlite3_int64>(id.value()));
    }
    void bind(int index, QByteArray const& bytes)
    {
        sqlite3_bind_blob(m_stmt, index, bytes.constData(), bytes.size(), SQLITE_TRANSIENT);
    }
    // Not copied: the text must outlive the step.
    void bind(int index, Dread::VString const& text)
    {
        bindUtf8_noCopy(index, text.data, static_cast<int>(text.length));
    }
    void bind(int index, void const*) = delete; // else a pointer would bind as a boolean
    void bindUtf8(int index, char const* text, int bytes)
    {
        sqlite3_bind_text(m_stmt, index, text, bytes, SQLITE_TRANSIENT);
    }
    void bindUtf8_noCopy(int index, char const* text, int bytes)
    {
        sqlite3_bind_text(m_stmt, index, text, bytes, SQLITE_STATIC);
    }
    void bindNull(int index) { sqlite3_bind_null(m_stmt, index); }

    // True for a row. A database that stays busy and a violated constraint are fatal; every other
    // end, errors too, is just the end of the rows.
    bool step()
    {
        int const code = sqlite3_step(m_stmt);
        if (code == SQLITE_ROW)
            return true;
        if (code == SQLITE_BUSY || code == SQLITE_CONSTRAINT)
            NakSql::exitWithFatalDatabaseError(sqlite3_db_handle(m_stmt), code);
        return false;
    }

    // Bindings never survive this. The SQLite code of a step that failed, for who writes what must
    // not be lost unseen.
    int reset()
    {
        int const code = sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
        return code;
    }

    // --- reading of the current row; columns count from 0. An empty text or blob reads as null ---
    QString colString(int column) const
    {
        int const bytes = sqlite3_column_bytes(m_stmt, column);
        if (bytes < 1)
            return QString();
        return QString::fromUtf8(textPointer(column), bytes);
    }
    qint64 colInt64(int column) const { return sqlite3_column_int64(m_stmt, column); }
    int colInt(int column) const { return sqlite3_column_int(m_stmt, column); }
    FlakeId colFlake(int column) const { return FlakeId(static_cast<quint64>(colInt64(column))); }
    bool colBool(int column) const { return colInt(column) >= 1; } // negative numbers are false
    QByteArray colBlobByteArray(int column) const
    {
        int const bytes = sqlite3_column_bytes(m_stmt, column);
        if (bytes < 1)
            return QByteArray();
        return QByteArray(static_cast<char const*>(sqlite3_column_blob(m_stmt, column)), bytes);
    }
    QByteArray colTextByteArray(int column) const
    {
        int const bytes = sqlite3_column_bytes(m_stmt, column);
        if (bytes < 1)
            return QByteArray();
        return QByteArray(textPointer(column), bytes);
    }

    // Point into the row: valid until the next step or reset.
    void colRawCStr(int column, char const** text, int* bytes) const
    {
        *text = textPointer(column);
        *bytes = sqlite3_column_bytes(m_stmt, column);
    }
    void colRawUtf16(int column, QChar const** text, int* units) const
    {
        *text = static_cast<QChar const*>(sqlite3_column_text16(m_stmt, column));
        *units = sqlite3_column_bytes16(m_stmt, column) / 2;
    }

    int colType(int column) const { return sqlite3_column_type(m_stmt, column); }
    bool colIsNotNull(int column) const { return colType(column) != SQLITE_NULL; }

    // The default stands for every other type than the wanted one. An empty text is a text, and
    // reads as null.
    QString colString_default(int column, QString const& def) const
    {
        return colType(column) == SQLITE_TEXT ? colString(column) : def;
    }
    int colInt_default(int column, int def) const
    {
        return colType(column) == SQLITE_INTEGER ? colInt(column) : def;
    }
    qint64 colInt64_default(int column, qint64 def) const
    {
        return colType(column) == SQLITE_INTEGER ? colInt64(column) : def;
    }

private:
    char const* textPointer(int column) const
    {
        return reinterpret_cast<char const*>(sqlite3_column_text(m_stmt, column));
    }

    sqlite3_stmt* m_stmt = nullptr;
};
