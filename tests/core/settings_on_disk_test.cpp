// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// What is left of settings.ini when the file, the disk or the process fails.

#include "child_process.h"
#include "data_paths.h"
#include "files.h"
#include "preferences.h"
#include "settings_file.h"

#include <QDir>

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

namespace {

QByteArray bytesOfFile()
{
    return fileBytes(NakSettingsFile::settingsFilePath());
}

NakPreferences loaded()
{
    NakPreferences preferences;
    preferences.loadFromSettingsFile();
    return preferences;
}

NakPreferences renamed(char const* device)
{
    NakPreferences preferences;
    preferences.inputDevice = QString::fromLatin1(device);
    return preferences;
}

// Without them the superuser is held to the rights of files.
void dropPrivileges()
{
    __user_cap_header_struct header{ _LINUX_CAPABILITY_VERSION_3, 0 };
    __user_cap_data_struct const none[2] = {};
    syscall(SYS_capset, &header, none);
}

class SettingsOnDisk : public testing::Test {
protected:
    void SetUp() override
    {
        NakDataPaths::appDataPathCreated();
        QFile::remove(NakSettingsFile::settingsFilePath());
    }
    void TearDown() override { SetUp(); }
};

} // namespace

TEST_F(SettingsOnDisk, DamagedFileIsReadAsFarAsItGoesAndWrittenWhole)
{
    renamed("whole").saveToSettingsFile();
    QByteArray const whole = bytesOfFile();
    for (int cut = 0; cut < whole.size(); cut += 37) {
        writeFile(NakSettingsFile::settingsFilePath(),
                  whole.left(cut) + QByteArray("\0[\xff%%=\n]=@Variant(\0\0\x7f", 16));
        inChild([] { loaded().saveToSettingsFile(); }); // a process that has not read it before
        NakPreferences const read = loaded();
        read.saveToSettingsFile();
        EXPECT_EQ(loaded().inputDevice, read.inputDevice) << cut;
        EXPECT_TRUE(NakSettingsFile().contains(QStringLiteral("application/settings_version")));
    }
}

TEST_F(SettingsOnDisk, FileThatCannotBeReadGivesDefaults)
{
    ASSERT_TRUE(QDir().mkdir(NakSettingsFile::settingsFilePath())); // so for the superuser too
    EXPECT_EQ(loaded().inputDevice, QString());
    renamed("x").saveToSettingsFile();
    EXPECT_TRUE(QDir().rmdir(NakSettingsFile::settingsFilePath()));
}

TEST_F(SettingsOnDisk, FileThatMayOnlyBeReadIsReadAndStays)
{
    renamed("old").saveToSettingsFile();
    QByteArray const old = bytesOfFile();
    QByteArray const file = QFile::encodeName(NakSettingsFile::settingsFilePath());
    QByteArray const directory = QFile::encodeName(NakDataPaths::appDataPath());
    for (mode_t const rights : { 0700, 0500 }) {
        chmod(file.constData(), 0400);
        chmod(directory.constData(), rights);
        inChild([] {
            dropPrivileges();
            if (loaded().inputDevice == QLatin1String("old"))
                renamed("new").saveToSettingsFile();
            else
                QFile::remove(NakSettingsFile::settingsFilePath()); // which the parent sees
        });
        chmod(directory.constData(), 0700);
        EXPECT_EQ(bytesOfFile(), old) << rights;
    }
}

TEST_F(SettingsOnDisk, FullDiskKeepsTheOldFileWhole)
{
    renamed("old").saveToSettingsFile();
    QByteArray const old = bytesOfFile();
    inChild([] { renamed("new").saveToSettingsFile(); });
    int const size = bytesOfFile().size();
    for (int limit = 0; limit <= size + 50; limit += 50) {
        writeFile(NakSettingsFile::settingsFilePath(), old);
        inChild([limit] {
            signal(SIGXFSZ, SIG_IGN);
            rlimit const room{ static_cast<rlim_t>(limit), static_cast<rlim_t>(limit) };
            setrlimit(RLIMIT_FSIZE, &room);
            renamed("new").saveToSettingsFile();
        });
        EXPECT_EQ(bytesOfFile() == old, limit < size) << limit << " of " << size;
    }
    EXPECT_EQ(
        QDir(NakDataPaths::appDataPath()).entryList({ QStringLiteral("settings.ini?*") }).size(),
        0);
}

TEST_F(SettingsOnDisk, KilledWhileSavingTheFileIsTheOldOrTheNewOne)
{
    renamed("old").saveToSettingsFile();
    QByteArray const old = bytesOfFile();
    renamed("new").saveToSettingsFile();
    QByteArray const fresh = bytesOfFile();
    std::string seen;
    for (int kill = 0; kill < 100; ++kill) {
        inKilledChild(40'000, [] {
            for (;;)
                for (char const* device : { "old", "new" })
                    renamed(device).saveToSettingsFile();
        });
        NakSettingsFileImpl::removeLeftovers();
        QByteArray const now = bytesOfFile();
        ASSERT_TRUE(now == old || now == fresh) << now.constData();
        seen += now == old ? 'o' : 'n';
    }
    EXPECT_NE(seen.find('o'), std::string::npos);
    EXPECT_NE(seen.find('n'), std::string::npos);
}
