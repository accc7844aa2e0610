// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "images_fixture.h"

#include "nak_event_log.h"

#include <QFile>
#include <QRegularExpression>
#include <QThreadPool>

ImagesTest::ImagesTest()
{
    NakEvLog::init();
    g_preferences = &preferences;
    g_globalEvents = &events;
    g_guiIcons = &icons;
    makePool();
}

ImagesTest::~ImagesTest()
{
    g_networkRequestPool = nullptr;
    pool.reset();
    QThreadPool::globalInstance()->waitForDone();
    g_guiIcons = nullptr;
    g_globalEvents = nullptr;
    g_preferences = nullptr;
    NakEvLog::deinit();
}

void ImagesTest::makePool()
{
    g_networkRequestPool = nullptr;
    pool.reset(); // before another one opens the same cache
    pool = std::make_unique<NakRequestPool>(dir.filePath(QStringLiteral("webcache")));
    NakRequestLimits limits;
    limits.maxBodyBytes = 4 << 20;
    limits.silenceMSecs = 300;
    limits.wholeMSecs = 1'000;
    pool->setLimits(limits);
    g_networkRequestPool = pool.get();
}

QString ImagesTest::at(char const* path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(stage.httpPort()).arg(QLatin1String(path));
}

int ImagesTest::requestsTo(QString const& path) const
{
    return stage.requests("GET", path).size();
}

int ImagesTest::pictureRequests() const
{
    int count = 0;
    for (stage::StageRequest const& request : stage.requests())
        count += request.path.startsWith(QLatin1String("/cdn"))
            || request.path.startsWith(QLatin1String("/media"));
    return count;
}

QStringList ImagesTest::logLines() const
{
    QFile file(NakEvLog::logFileName());
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    QStringList lines;
    for (QString const& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        QString const text = line.section(QLatin1Char('\t'), 1);
        if (text.contains(QLatin1String("Images:")) && !text.startsWith(QLatin1String("Debug")))
            lines += text.section(QLatin1String(":\t"), 1)
                         .remove(QRegularExpression(QStringLiteral(" ?http://[^ ]*")));
    }
    return lines;
}
