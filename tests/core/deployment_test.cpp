// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "deployment.h"
#include "files.h"

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
        writeFile(path, ini);
        bool ok = false;
        NakDeployment const deployment = loadDeployment(path, &ok);
        EXPECT_TRUE(ok);
        return deployment;
    }

    QTemporaryDir m_directory;
    int m_files = 0;
};

} // namespace

TEST_F(Deployment, EveryFieldHasAKeyOfItsOwn)
{
    EXPECT_EQ(sizeof(NakDeployment), deploymentEntries().size() * sizeof(QString));
    struct {
        char const* written;
        char const* read;
    } const values[] = {
        { "http://x/%1", "http://x/%1" },
        { "a, b", "a, b" },
        { R"("^http://127\\.0;a, b")", R"(^http://127\.0;a, b)" },
        { "", "" },
    };
    for (NakDeploymentEntry const& entry : deploymentEntries()) {
        QList<QByteArray> const key = QByteArray(entry.key).split('/');
        for (auto const& value : values) {
            NakDeployment expected = publicDeployment();
            expected.*entry.field = QString::fromLatin1(value.read);
            EXPECT_EQ(all(loaded('[' + key[0] + "]\nunknown=1\n" + key[1] + '=' + value.written)),
                      all(expected));
        }
    }
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
