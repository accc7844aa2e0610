// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A stage with its pictures, what fetches them, a log that can be read, and bounds short enough to
// be met in a test.

#include "files.h"
#include "global_events.h"
#include "gui_icons.h"
#include "nak_event_log.h"
#include "preferences.h"
#include "request_pool.h"
#include "stage.h"
#include "wait_until.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <memory>

class ImagesTest : public testing::Test {
protected:
    ImagesTest()
    {
        NakEvLog::init();
        g_preferences = &preferences;
        g_globalEvents = &events;
        g_guiIcons = &icons;
        makePool();
    }
    ~ImagesTest() override
    {
        g_networkRequestPool = nullptr;
        pool.reset();
        QThreadPool::globalInstance()->waitForDone();
        g_guiIcons = nullptr;
        g_globalEvents = nullptr;
        g_preferences = nullptr;
        NakEvLog::deinit();
    }

    void makePool() // with the cache that is there
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
    QString at(char const* path) const // on the stage
    {
        return QStringLiteral("http://127.0.0.1:%1%2")
            .arg(stage.httpPort())
            .arg(QLatin1String(path));
    }
    int requestsTo(QString const& path) const { return stage.requests("GET", path).size(); }
    int pictureRequests() const // below /cdn and /media
    {
        int count = 0;
        for (stage::StageRequest const& request : stage.requests())
            count += request.path.startsWith(QLatin1String("/cdn"))
                || request.path.startsWith(QLatin1String("/media"));
        return count;
    }
    // What the log has about pictures, without the lines at Debug: no address, one line each.
    QStringList logLines() const
    {
        QStringList lines;
        for (QString const& line :
             QString::fromUtf8(fileBytes(NakEvLog::logFileName())).split(u'\n')) {
            QString const text = line.section(u'\t', 1);
            if (text.contains(QLatin1String("Images:")) && !text.startsWith(QLatin1String("Debug")))
                lines += text.section(QLatin1String(":\t"), 1)
                             .remove(QRegularExpression(QStringLiteral(" ?http://[^ ]*")));
        }
        return lines;
    }

    QTemporaryDir dir;
    stage::Stage stage;
    NakPreferences preferences;
    NakGlobalEvents events;
    NakGuiIcons icons;
    std::unique_ptr<NakRequestPool> pool;
};
