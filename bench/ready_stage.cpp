// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// A stand-in service of a small account that becomes a large one when it is told to.
//
//   ready-stage FOLDER GUILDS CHANNELS MEMBERS
//
// Writes deployment.ini and a data directory for the client into FOLDER and prints "ready". For
// each line of input it sends every client a READY of so many guilds with so many channels and
// members each, and prints the document's bytes. Ends with its input.

#include "ready_document.h"
#include "stage.h"
#include "stage_deploy.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSocketNotifier>

#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication const app(argc, argv);
    if (argc != 5) {
        std::fprintf(stderr, "ready-stage: needs a folder and three numbers\n");
        return 2;
    }
    QString const folder = QString::fromLocal8Bit(argv[1]);
    stage::StageOptions options;
    options.token = QStringLiteral("token-of-the-bench");
    options.recordRequests = false;
    options.world.endMs = QDateTime::currentMSecsSinceEpoch();
    stage::Stage stage(options);
    ReadyShape shape;
    shape.guilds = atoi(argv[2]);
    shape.channelsPerGuild = atoi(argv[3]);
    shape.membersPerGuild = atoi(argv[4]);
    shape.ownUser = stage.ownUserId();
    QByteArray const ready = makeReadyDocument(shape).etf;
    if (!stage.isListening()
        || !stage::writeDeployment(folder + QLatin1String("/deployment.ini"), stage)
        || !stage::writeDataHome(folder, options.token, stage.busyChannelId()))
        return 1;
    QSocketNotifier const input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        char line[64];
        if (read(STDIN_FILENO, line, sizeof line) <= 0)
            return QCoreApplication::quit();
        stage.sendPayload(ready);
        std::printf("%d\n", ready.size());
        std::fflush(stdout);
    });
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
