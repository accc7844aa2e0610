// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// Lists in the documents that mirror lists in the code are held against them.

#include "deployment.h"
#include "gateway_protocol.h"
#include "preferences.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>

#include <gtest/gtest.h>

#include <string>

namespace {

QString textOf(QString const& path)
{
    QFile file(QStringLiteral(NAKWIRE_SOURCE_TREE "/") + path);
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Every first group that the pattern catches in the text.
QStringList found(QString const& text, QString const& pattern)
{
    QStringList found;
    QRegularExpression const expression(pattern, QRegularExpression::MultilineOption);
    auto matches = expression.globalMatch(text);
    while (matches.hasNext())
        found << matches.next().captured(1);
    return found;
}

QStringList filesBelow(QString const& folder, QStringList const& names)
{
    QDir const tree(QStringLiteral(NAKWIRE_SOURCE_TREE));
    QStringList files;
    QDirIterator each(tree.filePath(folder), names, QDir::Files, QDirIterator::Subdirectories);
    while (each.hasNext())
        files << tree.relativeFilePath(each.next());
    return files;
}

QString sources()
{
    QString text;
    for (QString const& file : filesBelow(QStringLiteral("src"), { QStringLiteral("*.cpp") }))
        text += textOf(file);
    return text;
}

// One name a line, so that a failure reads as a diff.
std::string listed(QStringList names)
{
    names.removeDuplicates();
    names.sort();
    return names.join(QLatin1Char('\n')).toStdString();
}

} // namespace

TEST(Docs, MapNamesEveryRoom)
{
    QStringList rooms;
    QStringList const lists =
        filesBelow(QStringLiteral("src"), { QStringLiteral("CMakeLists.txt") });
    for (QString const& list : lists)
        if (textOf(list).contains(QLatin1String("nakwire_room(")))
            rooms << list.section(QLatin1Char('/'), 0, -2);
    ASSERT_FALSE(rooms.isEmpty());
    QStringList const rows =
        found(textOf(QStringLiteral("docs/map.md")), QStringLiteral("^\\| `(src/[a-z/]+)` \\|"));
    EXPECT_EQ(listed(rows), listed(rooms));
}

TEST(Docs, FilesThatAreNamedExist)
{
    QStringList paths;
    for (char const* const folder : { "src", "stage", "tests", "fuzz", "bench", "tools" })
        paths += filesBelow(QLatin1String(folder), {});
    QSet<QString> known(paths.cbegin(), paths.cend());
    for (QString const& path : paths)
        known.insert(path.section(QLatin1Char('/'), -1));
    QStringList gone;
    int names = 0;
    QStringList const documents = filesBelow(QStringLiteral("docs"), { QStringLiteral("*.md") });
    for (QString const& document : documents + QStringList{ QStringLiteral("HACKING.md") }) {
        QStringList const named =
            found(textOf(document), QStringLiteral("`([A-Za-z_/]+\\.(?:h|cpp))`"));
        names += named.size();
        for (QString const& name : named)
            if (!known.contains(name))
                gone << document + QLatin1String(": ") + name;
    }
    EXPECT_GT(names, 10);
    EXPECT_EQ(listed(gone), "");
}

TEST(Docs, ProtocolsListsEveryOpcode)
{
    QMap<int, QString> expected;
    for (DisGateway::OpRow const& row : DisGateway::opTable)
        expected[static_cast<int>(row.op)] =
            row.incoming ? QStringLiteral("in") : QStringLiteral("unused");
    QJsonObject const sent[] = {
        DisGateway::heartbeatFrame(-1),
        DisGateway::identifyFrame({}, {}, true),
        DisGateway::statusFrame(DisUserStatusCode::Online, false, {}),
        DisGateway::resumeFrame({}, 0),
        DisGateway::voiceJoinFrame({}, {}),
        DisGateway::guildSyncFrame({}),
        DisGateway::callSyncFrame({}),
        DisGateway::lazyGuildRequestFrame({}, {}, false),
    };
    for (QJsonObject const& frame : sent)
        expected[frame.value(QLatin1String("op")).toInt()] = QStringLiteral("out");
    QStringList lines;
    for (auto row = expected.cbegin(); row != expected.cend(); ++row)
        lines << QStringLiteral("%1 | %2").arg(row.key()).arg(row.value());
    QStringList const rows = found(textOf(QStringLiteral("docs/protocols.md")),
                                   QStringLiteral("^\\| (\\d+ \\| (?:in|out|unused)) \\|"));
    EXPECT_EQ(listed(rows), listed(lines));
}

TEST(Docs, SettingsListsEveryPreference)
{
    QStringList const rows = found(textOf(QStringLiteral("docs/settings.md")),
                                   QStringLiteral("^\\| `([a-z_]+/[a-z_]+)` \\|"));
    EXPECT_EQ(listed(rows), listed(NakPreferencesImpl::keys()));
}

TEST(Docs, DeploymentListsEveryKeyWithItsDefault)
{
    QStringList const rows = found(textOf(QStringLiteral("docs/deployment.md")),
                                   QStringLiteral("^\\| (`[^`]+` \\| `[^`]+`) \\|"));
    QStringList expected;
    for (NakDeploymentEntry const& entry : deploymentEntries())
        expected << QStringLiteral("`%1` | `%2`")
                        .arg(QLatin1String(entry.key), publicDeployment().*entry.field);
    EXPECT_EQ(listed(rows), listed(expected));
}

TEST(Docs, ThreadsNamesEveryThread)
{
    QStringList const named =
        found(sources(), QStringLiteral("setObjectName\\(QStringLiteral\\(\"(\\w+Thread)\"\\)"));
    ASSERT_FALSE(named.isEmpty());
    QStringList const rows =
        found(textOf(QStringLiteral("docs/threads.md")), QStringLiteral("\"(\\w+Thread)\""));
    EXPECT_EQ(listed(rows), listed(named));
}

TEST(Docs, HackingNamesTheEnvironment)
{
    QStringList const read = found(
        sources(), QStringLiteral("(?:getenv|qEnvironmentVariable(?:\\w+)?)\\(\\s*\"(\\w+)\""));
    ASSERT_FALSE(read.isEmpty());
    QStringList rows =
        found(textOf(QStringLiteral("HACKING.md")), QStringLiteral("^\\| `([A-Z_]+)` \\|"));
    // Read by Qt for us.
    EXPECT_EQ(rows.removeAll(QStringLiteral("XDG_DATA_HOME")), 1);
    EXPECT_EQ(listed(rows), listed(read));
}
