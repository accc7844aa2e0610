// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_accounts_file.h"

#include "event_log.h"
#include "local_crypto.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QtEndian>

#include <fcntl.h>
#include <unistd.h>

namespace DisAccountsFile {

namespace {

constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions ownerOnlyDirectory = ownerOnly | QFile::ExeOwner;

constexpr qint64 maxFileSize = 4 << 20; // bytes
constexpr qint32 maxAccounts = 10'000;
constexpr quint32 maxKeys = 1'000;

enum Format : qint32 { Plain = 1, Encrypted = 2 };

void addLog(EvLog::Severity severity, QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Application, severity, text);
}

void setUp(QDataStream& stream)
{
    stream.setVersion(QDataStream::Qt_5_9);
    stream.setByteOrder(QDataStream::BigEndian);
}

void insertText(QVariantMap& map, char const* key, QString const& text)
{
    if (!text.isEmpty())
        map.insert(QLatin1String(key), text);
}

// The next variant if it is plain text or a number. A stream could also nest maps as deeply as
// it is long, and reading those would use up the stack.
bool readScalar(QDataStream& stream, QVariant* value)
{
    QByteArray const head = stream.device()->peek(4);
    if (head.size() != 4)
        return false;
    quint32 const type = qFromBigEndian<quint32>(head.constData());
    if (type < QMetaType::Bool || type > QMetaType::Double) {
        if (type != QMetaType::QString)
            return false;
    }
    stream >> *value;
    return stream.status() == QDataStream::Ok;
}

// A variant that holds a map of scalars.
bool readMap(QDataStream& stream, QVariantMap* map)
{
    quint32 type = 0;
    quint8 isNull = 0;
    quint32 count = 0;
    stream >> type >> isNull >> count;
    if (stream.status() != QDataStream::Ok || type != QMetaType::QVariantMap || count > maxKeys)
        return false;
    for (quint32 i = 0; i < count; ++i) {
        QString key;
        QVariant value;
        stream >> key;
        if (stream.status() != QDataStream::Ok || !readScalar(stream, &value))
            return false;
        map->insert(key, value);
    }
    return true;
}

void syncDirectory(QString const& directory)
{
    int const fd = ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

// A save that was killed between making its temporary file and renaming it leaves a copy of the
// tokens under the file's name and six letters.
void removeLeftovers(QFileInfo const& file)
{
    QDir directory = file.dir();
    QRegularExpression const leftover(QLatin1Char('^') + QRegularExpression::escape(file.fileName())
                                      + QLatin1String("\\.[A-Za-z0-9]{6}$"));
    for (QString const& name : directory.entryList(QDir::Files | QDir::Hidden | QDir::NoSymLinks))
        if (leftover.match(name).hasMatch() && directory.remove(name))
            addLog(EvLog::Severity::Warn,
                   QStringLiteral("Removed what an interrupted save of Discord accounts left "
                                  "behind"));
}

// False if the file stays where it is.
bool setAside(QString const& path)
{
    for (int i = 1; i <= 100; ++i) {
        QString const other = QStringLiteral("%1.unreadable-%2").arg(path).arg(i);
        if (QFileInfo::exists(other) || !QFile::rename(path, other))
            continue;
        addLog(EvLog::Severity::Error,
               QStringLiteral("The Discord accounts file could not be read and was set aside "
                              "as %1")
                   .arg(QFileInfo(other).fileName()));
        return true;
    }
    addLog(EvLog::Severity::Error,
           QStringLiteral("The Discord accounts file could not be read nor set aside; accounts "
                          "will not be saved"));
    return false;
}

std::optional<QVector<Record>> parseEncrypted(QDataStream& stream, Loaded* loaded)
{
    QByteArray sealed;
    stream >> sealed;
    if (stream.status() != QDataStream::Ok || !stream.atEnd())
        return {};
    if (!NakLocalCrypto::isAvailable()) {
        loaded->warningTitle = QStringLiteral("Decryption Unavailable");
        loaded->warningText = QStringLiteral(
            "Your Discord account data is encrypted, but decryption is not available on this "
            "computer. Your Discord account data will not be available.");
        return {};
    }
    QByteArray body;
    if (!NakLocalCrypto::decrypt(&body, sealed)) {
        loaded->warningTitle = QStringLiteral("Decryption Error");
        loaded->warningText = QStringLiteral(
            "There was an error while decrypting Discord authentication data. Your Discord "
            "account data is not available. This may be caused by copying your account data "
            "from one computer to another, software bugs, disk corruption, or tampering.");
        return {};
    }
    return parseBody(body);
}

std::optional<QVector<Record>> parseFile(QByteArray const& bytes, Loaded* loaded)
{
    QDataStream stream(bytes);
    setUp(stream);
    qint32 format = 0;
    stream >> format;
    if (stream.status() != QDataStream::Ok)
        return {};
    if (format == Plain)
        return parseBody(bytes.mid(4));
    if (format == Encrypted)
        return parseEncrypted(stream, loaded);
    return {};
}

QByteArray encodeFile(QVector<Record> const& records)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    setUp(stream);
    QByteArray const body = encodeBody(records);
    if (!NakLocalCrypto::isAvailable()) {
        stream << qint32(Plain);
        return bytes + body;
    }
    QByteArray sealed;
    if (!NakLocalCrypto::encrypt(&sealed, body))
        NakLocalCrypto::exitWithCryptoFailure();
    stream << qint32(Encrypted) << sealed;
    return bytes;
}

bool prepareDirectory(QString const& directory)
{
    return QDir().mkpath(directory) && QFile::setPermissions(directory, ownerOnlyDirectory);
}

bool writeAtomically(QString const& path, QByteArray const& bytes)
{
    QString const directory = QFileInfo(path).absolutePath();
    QSaveFile file(path);
    bool const written = prepareDirectory(directory) && file.open(QIODevice::WriteOnly)
        && file.setPermissions(ownerOnly) && file.write(bytes) == bytes.size() && file.commit();
    if (written)
        syncDirectory(directory);
    return written;
}

} // namespace

// --- codec ---

QVariantMap toVariantMap(Record const& record)
{
    QVariantMap map;
    insertText(map, "user_name", record.userName);
    insertText(map, "discriminator", record.discriminator);
    insertText(map, "auth_token", record.authToken);
    insertText(map, "cached_gateway_url", record.cachedGatewayUrl);
    insertText(map, "avatar_name", record.avatarName);
    if (record.userId.isValid())
        insertText(map, "user_id", record.userId.toString());
    map.insert(QStringLiteral("auth_token_state"), record.authTokenState);
    if (record.autoConnect)
        map.insert(QStringLiteral("auto_connect"), true);
    return map;
}

Record fromVariantMap(QVariantMap const& map)
{
    auto const text = [&map](char const* key) { return map.value(QLatin1String(key)).toString(); };
    Record record;
    record.userName = text("user_name");
    record.discriminator = text("discriminator");
    record.authToken = text("auth_token");
    record.cachedGatewayUrl = text("cached_gateway_url");
    record.userId = FlakeId::fromString(text("user_id"));
    record.avatarName = text("avatar_name");
    record.authTokenState =
        map.value(QStringLiteral("auth_token_state"), record.authToken.isEmpty() ? 0 : 1).toInt();
    record.autoConnect = map.value(QStringLiteral("auto_connect")).toBool();
    return record;
}

QByteArray encodeBody(QVector<Record> const& records)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    setUp(stream);
    stream << qint32(records.size());
    for (Record const& record : records)
        stream << QVariant(toVariantMap(record));
    return bytes;
}

std::optional<QVector<Record>> parseBody(QByteArray const& bytes)
{
    QDataStream stream(bytes);
    setUp(stream);
    qint32 count = 0;
    stream >> count;
    if (stream.status() != QDataStream::Ok || count < 0 || count > maxAccounts)
        return {};
    QVector<Record> records;
    for (qint32 i = 0; i < count; ++i) {
        QVariantMap map;
        if (!readMap(stream, &map))
            return {};
        records.append(fromVariantMap(map));
    }
    if (!stream.atEnd())
        return {};
    return records;
}

// --- file ---

bool save(QString const& path, QVector<Record> const& records)
{
    bool const done = records.isEmpty() ? !QFileInfo::exists(path) || QFile::remove(path)
                                        : writeAtomically(path, encodeFile(records));
    if (!done)
        addLog(EvLog::Severity::Error,
               QStringLiteral("The Discord accounts file could not be written"));
    return done;
}

Loaded load(QString const& path)
{
    Loaded loaded;
    removeLeftovers(QFileInfo(path));
    if (!QFileInfo::exists(path))
        return loaded;
    QFile file(path);
    std::optional<QVector<Record>> records;
    if (file.open(QIODevice::ReadOnly) && file.size() <= maxFileSize)
        records = parseFile(file.readAll(), &loaded);
    file.close();
    if (records)
        loaded.records = *records;
    else
        loaded.blocked = !setAside(path);
    return loaded;
}

} // namespace DisAccountsFile
