// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_stmt.h"

#include <gtest/gtest.h>

namespace {

class Stmt : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(NakSql::openDb(":memory:", &m_db), SQLITE_OK); }
    void TearDown() override { EXPECT_EQ(NakSql::closeDb(m_db), SQLITE_OK); }

    // How SQLite writes the bound value as a literal.
    std::string quoted(NakStmt& stmt)
    {
        EXPECT_TRUE(stmt.step());
        std::string const text = stmt.colString(0).toStdString();
        stmt.reset();
        return text;
    }

    sqlite3* m_db = nullptr;
};

struct ReadCase {
    char const* literal;
    char const* reads; // see readAll
};

std::string quotes(QString const& text)
{
    return text.isNull() ? "null" : '"' + text.toStdString() + '"';
}

std::string quotes(QByteArray const& bytes)
{
    return bytes.isNull() ? "null" : '"' + bytes.toStdString() + '"';
}

std::string readAll(NakStmt const& stmt)
{
    // Those that look at the type come first, since a read may convert the column.
    std::string out = "type " + std::to_string(stmt.colType(0));
    out += stmt.colIsNotNull(0) ? " set" : " unset";
    out += " or " + quotes(stmt.colString_default(0, QStringLiteral("def")));
    out += ' ' + std::to_string(stmt.colInt_default(0, -7));
    out += ' ' + std::to_string(stmt.colInt64_default(0, -8));
    out += " int " + std::to_string(stmt.colInt(0));
    out += ' ' + std::to_string(stmt.colInt64(0));
    out += stmt.colBool(0) ? " true" : " false";
    out += " text " + quotes(stmt.colString(0)) + ' ' + quotes(stmt.colTextByteArray(0));
    return out;
}

} // namespace

TEST_F(Stmt, Bind)
{
    NakStmt stmt(m_db, "select quote(?)");
    stmt.bind(1, QStringLiteral("k\u00fc\U0001F600'"));
    EXPECT_EQ(quoted(stmt), "'k\u00fc\U0001F600'''");
    stmt.bind(1, QStringRef(nullptr));
    EXPECT_EQ(quoted(stmt), "''");
    QString const text = QStringLiteral("abcdef");
    stmt.bind(1, text.midRef(2, 3));
    EXPECT_EQ(quoted(stmt), "'cde'");
    stmt.bind(1, QString());
    EXPECT_EQ(quoted(stmt), "''");
    stmt.bind(1, -5L);
    EXPECT_EQ(quoted(stmt), "-5");
    stmt.bind(1, qint64(1) << 40);
    EXPECT_EQ(quoted(stmt), "1099511627776");
    stmt.bind(1, -6);
    EXPECT_EQ(quoted(stmt), "-6");
    stmt.bind(1, true);
    EXPECT_EQ(quoted(stmt), "1");
    stmt.bind(1, FlakeId(174820236481134592ULL));
    EXPECT_EQ(quoted(stmt), "174820236481134592");
    stmt.bind(1, FlakeId());
    EXPECT_EQ(quoted(stmt), "-1");
    stmt.bind(1, QByteArray("a\0b", 3));
    EXPECT_EQ(quoted(stmt), "X'610062'");
    stmt.bind(1, Dread::VString{ "abcdef", 3 });
    EXPECT_EQ(quoted(stmt), "'abc'");
    stmt.bindUtf8(1, "\u00fcb", 2);
    EXPECT_EQ(quoted(stmt), "'\u00fc'");
    stmt.bindUtf8_noCopy(1, "xyz", 1);
    EXPECT_EQ(quoted(stmt), "'x'");
    stmt.bindNull(1);
    EXPECT_EQ(quoted(stmt), "NULL");
}

TEST_F(Stmt, BoundTextIsCopiedUnlessTold)
{
    NakStmt stmt(m_db, "select ?1 || ?2 || ?3 || ?4");
    {
        QString text = QStringLiteral("string ");
        QByteArray utf8("utf8 ");
        QByteArray blob("blob ");
        stmt.bind(1, text);
        stmt.bindUtf8(2, utf8.constData(), utf8.size());
        stmt.bind(3, blob);
        stmt.bind(4, QStringRef(&text));
        text.fill(QLatin1Char('-'));
        utf8.fill('-');
        blob.fill('-');
    }
    ASSERT_TRUE(stmt.step());
    EXPECT_EQ(stmt.colString(0), QStringLiteral("string utf8 blob string "));
}

TEST_F(Stmt, BindingsDoNotSurviveAReset)
{
    NakStmt stmt(m_db, "select ?");
    stmt.bind(1, 5);
    ASSERT_TRUE(stmt.step());
    EXPECT_EQ(stmt.colInt(0), 5);
    EXPECT_FALSE(stmt.step());
    stmt.reset();
    ASSERT_TRUE(stmt.step());
    EXPECT_FALSE(stmt.colIsNotNull(0));
}

TEST_F(Stmt, Read)
{
    constexpr ReadCase cases[] = {
        { "null", R"(type 5 unset or "def" -7 -8 int 0 0 false text null null)" },
        { "''", R"(type 3 set or null -7 -8 int 0 0 false text null null)" },
        { "'12x'", R"(type 3 set or "12x" -7 -8 int 12 12 true text "12x" "12x")" },
        { "'\u00fc'", "type 3 set or \"\u00fc\" -7 -8 int 0 0 false text \"\u00fc\" \"\u00fc\"" },
        { "0", R"(type 1 set or "def" 0 0 int 0 0 false text "0" "0")" },
        { "1", R"(type 1 set or "def" 1 1 int 1 1 true text "1" "1")" },
        { "-1", R"(type 1 set or "def" -1 -1 int -1 -1 false text "-1" "-1")" },
        { "4294967303",
          R"(type 1 set or "def" 7 4294967303 int 7 4294967303 true text "4294967303" )"
          R"("4294967303")" },
        { "1.5", R"(type 2 set or "def" -7 -8 int 1 1 true text "1.5" "1.5")" },
        { "x''", R"(type 4 set or "def" -7 -8 int 0 0 false text null null)" },
        { "x'6162'", R"(type 4 set or "def" -7 -8 int 0 0 false text "ab" "ab")" },
    };
    for (ReadCase const& c : cases) {
        QByteArray const sql = QByteArray("select ") + c.literal;
        NakStmt stmt(m_db, sql.constData());
        ASSERT_TRUE(stmt.step());
        EXPECT_EQ(readAll(stmt), c.reads) << c.literal;
    }
}

TEST_F(Stmt, ReadIds)
{
    NakStmt stmt(m_db, "select -1, 174820236481134592, -9223372036854775808");
    ASSERT_TRUE(stmt.step());
    EXPECT_FALSE(stmt.colFlake(0).isValid());
    EXPECT_EQ(stmt.colFlake(1), FlakeId(174820236481134592ULL));
    EXPECT_EQ(stmt.colFlake(2), FlakeId(1ULL << 63));
}

TEST_F(Stmt, ReadRaw)
{
    NakStmt stmt(m_db, "select 'k\u00fc\U0001F600', x'00ff', null, x''");
    ASSERT_TRUE(stmt.step());
    char const* text = nullptr;
    int bytes = -1;
    stmt.colRawCStr(0, &text, &bytes);
    EXPECT_EQ(std::string(text, static_cast<size_t>(bytes)), "k\u00fc\U0001F600");
    QChar const* utf16 = nullptr;
    int units = -1;
    stmt.colRawUtf16(0, &utf16, &units);
    EXPECT_EQ(QString(utf16, units), QStringLiteral("k\u00fc\U0001F600"));
    EXPECT_EQ(units, 4);
    EXPECT_EQ(stmt.colBlobByteArray(1).toHex(), QByteArray("00ff"));
    EXPECT_TRUE(stmt.colBlobByteArray(2).isNull());
    EXPECT_TRUE(stmt.colBlobByteArray(3).isNull());
    stmt.colRawCStr(2, &text, &bytes);
    EXPECT_EQ(bytes, 0);
    stmt.colRawUtf16(2, &utf16, &units);
    EXPECT_EQ(units, 0);
}

TEST_F(Stmt, PrepareTellsItsCode)
{
    int code = -1;
    NakStmt const bad(m_db, "select from", &code);
    EXPECT_EQ(code, SQLITE_ERROR);
    NakStmt const good(m_db, "select 1", &code);
    EXPECT_EQ(code, SQLITE_OK);
}

TEST_F(Stmt, Moves)
{
    NakStmt a(m_db, "select 1");
    NakStmt b(std::move(a));
    ASSERT_TRUE(b.step());
    EXPECT_EQ(b.colInt(0), 1);
    NakStmt c(m_db, "select 2");
    b = std::move(c);
    ASSERT_TRUE(b.step());
    EXPECT_EQ(b.colInt(0), 2);
}

TEST_F(Stmt, OtherErrorsJustEndTheRows)
{
    NakStmt stmt(m_db, "select abs(-9223372036854775808)"); // integer overflow
    EXPECT_FALSE(stmt.step());
}
