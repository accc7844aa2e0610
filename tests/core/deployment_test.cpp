// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "deployment.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

std::string all(NakDeployment const& deployment)
{
    QString out;
    for (NakDeploymentEntry const& entry : deploymentEntries())
        out += QString::fromLatin1(entry.key) + QLatin1Char('=') + deployment.*entry.field
            + QLatin1Char('\n');
    return out.toStdString();
}

class Deployment : public testing::Test {
protected:
    NakDeployment loaded(QByteArray const& ini)
    {
        // A new name each time, since QSettings remembers what it read from a path.
        QString const path = m_directory.filePath(QString::number(++m_files));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(ini);
        file.close();
        bool ok = false;
        NakDeployment const deployment = loadDeployment(path, &ok);
        EXPECT_TRUE(ok);
        return deployment;
    }

    QTemporaryDir m_directory;
    int m_files = 0;
};

} // namespace

TEST_F(Deployment, DocumentTellsWhatTheCodeDoes)
{
    QFile file(QStringLiteral(NAKWIRE_TEST_DATA "/../../docs/deployment.md"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QRegularExpression const row(QStringLiteral("^\\| `([^`]+)` \\| `([^`]+)` \\|"),
                                 QRegularExpression::MultilineOption);
    QString documented;
    auto rows = row.globalMatch(QString::fromUtf8(file.readAll()));
    while (rows.hasNext()) {
        QRegularExpressionMatch const match = rows.next();
        documented += match.captured(1) + QLatin1Char('=') + match.captured(2) + QLatin1Char('\n');
    }
    EXPECT_EQ(documented.toStdString(), all(publicDeployment()));
}

TEST_F(Deployment, EveryFieldHasAKeyOfItsOwn)
{
    EXPECT_EQ(sizeof(NakDeployment), deploymentEntries().size() * sizeof(QString));
    for (NakDeploymentEntry const& wanted : deploymentEntries()) {
        QByteArray const key(wanted.key);
        int const slash = key.indexOf('/');
        NakDeployment const deployment =
            loaded('[' + key.left(slash) + "]\n" + key.mid(slash + 1) + "=http://x/%1\n");
        NakDeployment expected = publicDeployment();
        expected.*wanted.field = QStringLiteral("http://x/%1");
        EXPECT_EQ(all(deployment), all(expected)) << wanted.key;
    }
}

TEST_F(Deployment, ValuesAsTheyAreWritten)
{
    NakDeployment expected = publicDeployment();
    expected.discordImagesUrlPattern = QStringLiteral("^http://127\\.0;a, b");
    expected.discordCdnUrl = QStringLiteral("a, b");
    expected.discordMediaUrl = QString();
    EXPECT_EQ(all(loaded("[discord]\n"
                         "images_url_pattern=\"^http://127\\\\.0;a, b\"\n"
                         "cdn_url=a, b\n"
                         "media_url=\n"
                         "unknown=1\n")),
              all(expected));
}

TEST_F(Deployment, UnreadableFileReplacesNothing)
{
    for (QString const& path :
         { m_directory.filePath(QStringLiteral("none.ini")), m_directory.path() }) {
        bool ok = true;
        EXPECT_EQ(all(loadDeployment(path, &ok)), all(publicDeployment()));
        EXPECT_FALSE(ok) << path.toStdString();
    }
}
