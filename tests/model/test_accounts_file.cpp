// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_accounts_file.h"
#include "model_fixture.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using DisAccountsFile::Record;

// --- the stream's pieces as hex text, written down without the stream ---
std::string hex(quint32 number)
{
    return QByteArray::number(number, 16).rightJustified(8, '0').toStdString();
}
std::string hexText(char const* ascii)
{
    std::string out = hex(static_cast<quint32>(2 * qstrlen(ascii))); // bytes of UTF-16
    for (; *ascii; ++ascii)
        out += "00" + QByteArray(1, *ascii).toHex().toStdString();
    return out;
}
std::string const mapVariant = hex(8) + "00"; // type and "is not null"
std::string const textVariant = hex(10) + "00";
std::string const intVariant = hex(2) + "00";
std::string const boolVariant = hex(1) + "00";

Record fullRecord()
{
    Record record;
    record.userName = QStringLiteral("ada");
    record.discriminator = QStringLiteral("0042");
    record.authToken = QStringLiteral("tok");
    record.cachedGatewayUrl = QStringLiteral("wss://g");
    record.userId = FlakeId(80351110224678912);
    record.avatarName = QStringLiteral("a1");
    record.authTokenState = 2;
    record.autoConnect = true;
    return record;
}

// Keys descend: the stream writes a map from its end.
std::string const fullRecordHex = mapVariant + hex(8) + hexText("user_name") + textVariant
    + hexText("ada") + hexText("user_id") + textVariant + hexText("80351110224678912")
    + hexText("discriminator") + textVariant + hexText("0042") + hexText("cached_gateway_url")
    + textVariant + hexText("wss://g") + hexText("avatar_name") + textVariant + hexText("a1")
    + hexText("auto_connect") + boolVariant + "01" + hexText("auth_token_state") + intVariant
    + hex(2) + hexText("auth_token") + textVariant + hexText("tok");

std::string text(Record const& r)
{
    return QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8")
        .arg(r.userName, r.discriminator, r.authToken, r.cachedGatewayUrl,
             r.userId.isValid() ? r.userId.toString() : QString(), r.avatarName)
        .arg(r.authTokenState)
        .arg(r.autoConnect)
        .toStdString();
}

std::string text(QVector<Record> const& records)
{
    std::string out;
    for (Record const& record : records)
        out += text(record) + "\n";
    return out;
}

QVector<Record> manyRecords(int count, char const* name)
{
    QVector<Record> records;
    for (int i = 0; i < count; ++i) {
        Record record = fullRecord();
        record.userName = QLatin1String(name) + QString::number(i);
        records.append(record);
    }
    return records;
}

QByteArray contents(QString const& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(QString const& path, QByteArray const& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

struct Place {
    QTemporaryDir dir;
    QString directory = dir.filePath(QStringLiteral("data"));
    QString path = directory + QStringLiteral("/nakwire_accounts.bin");

    std::string entries() const
    {
        return QDir(directory)
            .entryList(QDir::Files | QDir::Hidden, QDir::Name)
            .join(QLatin1Char(' '))
            .toStdString();
    }
};

constexpr QFile::Permissions groupAndOthers = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup
    | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;

} // namespace

void saveAccountsUntilKilled(QString const& path)
{
    QVector<Record> const sets[] = { manyRecords(1, "few"), manyRecords(400, "many") };
    for (int i = 0;; ++i) {
        DisAccountsFile::save(path, sets[i % 2]);
        if (i == 1) {
            std::puts("saving");
            std::fflush(stdout);
        }
    }
}

TEST(AccountsFile, LayoutAsHex)
{
    Place place;
    Record fresh;
    fresh.authToken = QStringLiteral("new");
    fresh.authTokenState = 1;
    ASSERT_TRUE(DisAccountsFile::save(place.path, { fullRecord(), fresh }));
    EXPECT_EQ(contents(place.path).toHex().toStdString(),
              hex(1) + hex(2) + fullRecordHex + mapVariant + hex(2) + hexText("auth_token_state")
                  + intVariant + hex(1) + hexText("auth_token") + textVariant + hexText("new"));
    EXPECT_EQ(text(DisAccountsFile::load(place.path).records),
              "ada|0042|tok|wss://g|80351110224678912|a1|2|1\n||new||||1|0\n");
}

TEST(AccountsFile, MissingKeys)
{
    EXPECT_EQ(DisAccountsFile::encodeBody({ Record() }).toHex().toStdString(),
              hex(1) + mapVariant + hex(1) + hexText("auth_token_state") + intVariant + hex(0));
    QVariantMap map;
    EXPECT_EQ(text(DisAccountsFile::fromVariantMap(map)), "||||||0|0");
    map.insert(QStringLiteral("auth_token"), QStringLiteral("t"));
    EXPECT_EQ(text(DisAccountsFile::fromVariantMap(map)), "||t||||1|0");
    map.insert(QStringLiteral("auth_token_state"), 3);
    map.insert(QStringLiteral("user_id"), QStringLiteral("not a number"));
    map.insert(QStringLiteral("from the future"), 7);
    EXPECT_EQ(text(DisAccountsFile::fromVariantMap(map)), "||t||||3|0");
}

TEST(AccountsFile, CutOrDamagedAtEveryByte)
{
    QByteArray const body = DisAccountsFile::encodeBody({ fullRecord(), Record() });
    ASSERT_TRUE(DisAccountsFile::parseBody(body));
    for (int cut = 0; cut < body.size(); ++cut)
        EXPECT_FALSE(DisAccountsFile::parseBody(body.left(cut))) << cut;
    EXPECT_FALSE(DisAccountsFile::parseBody(body + '\0'));
    for (int at = 0; at < body.size(); ++at)
        for (int bit = 0; bit < 8; ++bit) {
            QByteArray damaged = body;
            damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit));
            (void)DisAccountsFile::parseBody(damaged); // ends, whatever it makes of it
        }
}

TEST(AccountsFile, NestingAndCountsAreBounded)
{
    QByteArray deep = QByteArray::fromStdString(hex(1)); // one account
    for (int i = 0; i < 100'000; ++i)
        deep += QByteArray::fromStdString(mapVariant + hex(1) + hexText("k"));
    EXPECT_FALSE(DisAccountsFile::parseBody(QByteArray::fromHex(deep)));
    for (char const* const count : { "ffffffff", "80000000", "7fffffff", "00002711" })
        EXPECT_FALSE(DisAccountsFile::parseBody(QByteArray::fromHex(count))) << count;
    EXPECT_FALSE(
        DisAccountsFile::parseBody(QByteArray::fromStdString(hex(1) + mapVariant + "ffffffff")));
}

TEST(AccountsFile, SavesForTheOwnerAloneAndLeavesNothingForNoRecords)
{
    Place place;
    EXPECT_TRUE(DisAccountsFile::save(place.path, {}));
    EXPECT_FALSE(QFileInfo::exists(place.directory)) << "nothing is made for nothing";
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(DisAccountsFile::save(place.path, { fullRecord() }));
        EXPECT_FALSE(QFileInfo(place.path).permissions() & groupAndOthers);
        EXPECT_FALSE(QFileInfo(place.directory).permissions() & groupAndOthers);
        EXPECT_EQ(place.entries(), "nakwire_accounts.bin");
        // A file that somebody made readable is closed again.
        QFile::setPermissions(place.path, QFile::Permissions(0x6644));
    }
    EXPECT_TRUE(DisAccountsFile::save(place.path, {}));
    EXPECT_EQ(place.entries(), "");
    EXPECT_TRUE(DisAccountsFile::load(place.path).records.isEmpty());
}

TEST(AccountsFile, UnreadableFilesAreSetAside)
{
    QByteArray const good = DisAccountsFile::encodeBody({ fullRecord() });
    struct {
        QByteArray bytes;
        char const* title = "";
    } const cases[] = {
        { "" },
        { "\x01" },
        { QByteArray::fromHex("00000000") + good },
        { QByteArray::fromHex("00000003") + good },
        { QByteArray::fromHex("00000001") + good.left(good.size() - 1) },
        { QByteArray::fromHex("00000001") + good + "x" },
        { QByteArray::fromHex("0000000200000004") + "1234", "Decryption Unavailable" },
        { QByteArray::fromHex("0000000200000005") + "1234" },
        { QByteArray((4 << 20) + 1, 'x') },
    };
    Place place;
    QDir().mkpath(place.directory);
    QStringList expected;
    for (auto const& c : cases) {
        write(place.path, c.bytes);
        auto const loaded = DisAccountsFile::load(place.path);
        EXPECT_TRUE(loaded.records.isEmpty());
        EXPECT_FALSE(loaded.blocked);
        EXPECT_EQ(loaded.warningTitle.toStdString(), c.title);
        QString const aside =
            QStringLiteral("nakwire_accounts.bin.unreadable-%1").arg(expected.size() + 1);
        expected << aside;
        EXPECT_EQ(place.entries(), expected.join(u' ').toStdString());
        EXPECT_EQ(contents(place.directory + u'/' + aside), c.bytes);
    }
}

TEST(AccountsFile, FileThatCannotBeSetAsideIsToldToBeBlocked)
{
    Place place;
    // A directory cannot be opened as a file; with all names taken it cannot be renamed either.
    QDir().mkpath(place.path);
    for (int i = 1; i <= 100; ++i)
        QDir().mkpath(QStringLiteral("%1.unreadable-%2").arg(place.path).arg(i));
    EXPECT_TRUE(DisAccountsFile::load(place.path).blocked);
}

TEST(AccountsFile, LeftoversOfASaveAreRemovedAndNothingElse)
{
    Place place;
    ASSERT_TRUE(DisAccountsFile::save(place.path, { fullRecord() }));
    write(place.path + QStringLiteral(".aB3xYz"), "tokens");
    write(place.path + QStringLiteral(".backup1"), "kept");
    write(place.path + QStringLiteral(".short"), "kept");
    write(place.directory + QStringLiteral("/slack_accounts.bin.aB3xYz"), "kept");
    EXPECT_EQ(DisAccountsFile::load(place.path).records.size(), 1);
    EXPECT_EQ(place.entries(),
              "nakwire_accounts.bin nakwire_accounts.bin.backup1 nakwire_accounts.bin.short "
              "slack_accounts.bin.aB3xYz");
}

TEST(AccountsFile, KilledWhileSaving)
{
    Place place;
    std::string const few = text(manyRecords(1, "few"));
    std::string const many = text(manyRecords(400, "many"));
    QRandomGenerator random(static_cast<quint32>(QCoreApplication::applicationPid()));
    for (int round = 0; round < 200; ++round) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(),
                    { QLatin1String(saveAccountsRole), place.path });
        ASSERT_TRUE(child.waitForReadyRead(20'000));
        QThread::usleep(random.bounded(8'000)); // when it is killed is left to chance
        child.kill();
        ASSERT_TRUE(child.waitForFinished(20'000));
        auto const loaded = DisAccountsFile::load(place.path);
        std::string const got = text(loaded.records);
        ASSERT_TRUE(got == few || got == many) << round << ": " << got.size() << " bytes";
        EXPECT_EQ(place.entries(), "nakwire_accounts.bin");
        EXPECT_FALSE(QFileInfo(place.path).permissions() & groupAndOthers);
    }
}
