// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_sql.h"

#include "fatal_box.h"
#include "nak_stmt.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QMutex>
#include <QThread>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace {

constexpr int busyTimeoutMSecs = 15000;
constexpr int busyPauseMSecs = 5;

constexpr QEvent::Type dbFailureType = static_cast<QEvent::Type>(1003);

// The box stands in the destructor, so that a worker can hand over to the application's thread with
// a plain event and no receiver class: the event loop deletes the event once it is delivered.
class DbFailureEvent : public QEvent {
public:
    explicit DbFailureEvent(QString const& text)
        : QEvent(dbFailureType)
        , m_text(text)
    {
    }
    ~DbFailureEvent() override
    {
        NakFatalBox::Message message;
        message.title = QStringLiteral("Nakwire database error");
        message.text = QStringLiteral("Nakwire database error:\n\n") + m_text;
        NakFatalBox::show(message);
        std::abort();
    }

private:
    QString m_text;
};

void closeOrExit(sqlite3* db)
{
    int const code = sqlite3_close(db);
    if (code != SQLITE_OK)
        NakSql::exitWithGenericDbError(code);
}

int readUserVersion(sqlite3* db)
{
    NakStmt stmt(db, "pragma user_version;", nullptr);
    return stmt.step() ? stmt.colInt_default(0, 0) : 0;
}

// Whatever made the file ended before it wrote a first page.
bool isBlank(sqlite3* db)
{
    int code = SQLITE_OK; // of a file that is no database, not even this can be asked
    NakStmt stmt(db, "pragma page_count;", &code);
    return code == SQLITE_OK && stmt.step() && stmt.colInt_default(0, 1) == 0;
}

void writeUserVersion(sqlite3* db, int version)
{
    QByteArray const sql = "pragma user_version = " + QByteArray::number(version) + ";";
    NakStmt stmt(db, sql.constData(), nullptr);
    if (stmt.step())
        NakSql::exitWithGenericDbError(1);
}

void executeSchema(sqlite3* db, char const* schema)
{
    int const code = sqlite3_exec(db, schema, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        NakSql::exitWithFatalDatabaseError(db, code);
}

// Null when there is no such file.
sqlite3* openExistingDb(char const* path)
{
    sqlite3* db = nullptr;
    int const code = sqlite3_open_v2(path, &db, SQLITE_OPEN_READWRITE, nullptr);
    if (code == SQLITE_OK)
        return db;
    sqlite3_close(db);
    if (code != SQLITE_CANTOPEN)
        qFatal("Database file IO error.");
    return nullptr;
}

sqlite3* createDb(char const* path)
{
    // For the user alone; SQLite gives its other files the rights of this one.
    int const file = ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file >= 0)
        ::close(file);
    sqlite3* db = nullptr;
    int const code = sqlite3_open(path, &db);
    if (code != SQLITE_OK)
        NakSql::exitWithGenericDbError(code);
    return db;
}

sqlite3* withBusyTimeout(sqlite3* db)
{
    sqlite3_busy_timeout(db, busyTimeoutMSecs);
    return db;
}

// Whether to try again.
int waitUnlessStopped(void* /*context*/, int pausesBefore)
{
    if (pausesBefore >= busyTimeoutMSecs / busyPauseMSecs
        || QThread::currentThread()->isInterruptionRequested())
        return 0;
    QThread::msleep(busyPauseMSecs);
    return 1;
}

} // namespace

sqlite3* NakSql::openDbWithSchemaAndUserVersion(QString const& path, char const* schema,
                                                int version)
{
    QByteArray const nativePath = QFile::encodeName(path);
    if (sqlite3* db = openExistingDb(nativePath.constData())) {
        if (readUserVersion(db) == version)
            return withBusyTimeout(db);
        closeOrExit(db);
        QFile::remove(path);
    }
    sqlite3* db = createDb(nativePath.constData());
    executeSchema(db, schema);
    writeUserVersion(db, version);
    return withBusyTimeout(db);
}

sqlite3* NakSql::openDbWithAppendableSchema(QString const& path, char const* schema, int version)
{
    QByteArray const nativePath = QFile::encodeName(path);
    sqlite3* db = openExistingDb(nativePath.constData());
    bool const isNew = !db || isBlank(db);
    if (!db)
        db = createDb(nativePath.constData());
    if (isNew) {
        writeUserVersion(db, version);
    } else if (readUserVersion(db) != version) {
        closeOrExit(db);
        return nullptr;
    }
    executeSchema(db, schema);
    return withBusyTimeout(db);
}

sqlite3* NakSql::tryOpenReadOnlyDbWithVersion(QString const& path, int version)
{
    sqlite3* db = nullptr;
    int const code =
        sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READONLY, nullptr);
    if (code == SQLITE_OK && readUserVersion(withBusyTimeout(db)) == version)
        return db;
    sqlite3_close(db);
    return nullptr;
}

int NakSql::openDb(char const* path, sqlite3** out)
{
    int const code = sqlite3_open(path, out);
    if (code == SQLITE_OK)
        withBusyTimeout(*out);
    return code;
}

sqlite3* NakSql::openDbNoMutex(char const* path)
{
    sqlite3* db = nullptr;
    int const code =
        sqlite3_open_v2(path, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code == SQLITE_OK)
        return withBusyTimeout(db);
    sqlite3_close(db);
    return nullptr;
}

sqlite3* NakSql::tryOpenDbReadOnly(QString const& path)
{
    return openDbNoMutex(QFile::encodeName(path).constData());
}

int NakSql::closeDb(sqlite3* db)
{
    int const code = sqlite3_close(db);
    if (code == SQLITE_BUSY)
        sqlite3_close_v2(db);
    return code;
}

void NakSql::waitNoLongerThanThread(sqlite3* db)
{
    sqlite3_busy_handler(db, waitUnlessStopped, nullptr);
}

void NakSql::beginTransaction(sqlite3* db)
{
    sqlite3_exec(db, "begin transaction", nullptr, nullptr, nullptr);
}

int NakSql::endTransaction(sqlite3* db)
{
    return sqlite3_exec(db, "end transaction", nullptr, nullptr, nullptr);
}

qint64 NakSql::lastInsertRowId(sqlite3* db)
{
    return sqlite3_last_insert_rowid(db);
}

void NakSql::exitWithFatalDatabaseError(sqlite3* db, int code)
{
    exitWithMessage(QStringLiteral("Database error code %1:\n").arg(code)
                    + QString::fromUtf8(sqlite3_errmsg(db)));
}

void NakSql::exitWithGenericDbError(int code)
{
    exitWithMessage(
        QStringLiteral("Critical database error.\nCode: %1\nNakwire will terminate.").arg(code));
}

void NakSql::exitWithMessage(QString const& text)
{
    QByteArray const utf8 = text.toUtf8();
    static QMutex firstWorker; // never unlocked: only one worker may hand its message over
    QCoreApplication* app = QCoreApplication::instance();
    if (!app)
        qFatal("%s", utf8.constData());
    qCritical("%s", utf8.constData());
    if (QThread::currentThread() == app->thread())
        delete new DbFailureEvent(text);
    else if (firstWorker.tryLock())
        QCoreApplication::postEvent(app, new DbFailureEvent(text));
    // The caller must touch nothing while the box is up; abort() ends this.
    for (;;)
        QThread::msleep(200);
}

void NakSql::showFailureOfWorker()
{
    QCoreApplication::sendPostedEvents(QCoreApplication::instance(), dbFailureType);
}
