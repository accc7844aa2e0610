// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nak_go.h"

#include <QWidget>

#include <gtest/gtest.h>

namespace {

class RecordingHost : public NakGo::IWindowHost {
public:
    void openNavLoc(NakNavLoc const& place, NakGo::OpenMode mode, QWidget* origin) override
    {
        calls += QStringLiteral("open %1 %2 %3;")
                     .arg(place.discordChannelId().toString())
                     .arg(static_cast<int>(mode))
                     .arg(origin ? 1 : 0);
    }
    void openNavLocAsIfFromNotification(NakNavLoc const& place) override
    {
        calls += QStringLiteral("notified %1;").arg(place.discordChannelId().toString());
    }
    void activateAnyChatWindow() override { calls += QStringLiteral("activate;"); }
    QList<QWidget*> chatWindows() const override { return { nullptr }; }

    QString calls;
};

TEST(NakGo, PassesToTheWindowHostAndToNobodyWithoutOne)
{
    RecordingHost host;
    QWidget origin;
    auto const callAll = [&] {
        auto const place = NakNavLoc::discordChannel(FlakeId(5));
        NakGo::openNavLoc(place, NakGo::OpenMode::BackgroundTab, &origin);
        NakGo::openNavLocAsIfFromNotification(place);
        NakGo::activateAnyChatWindow();
        host.calls += QStringLiteral("%1 ").arg(NakGo::chatWindows().size());
    };
    callAll();
    NakGo::setWindowHost(&host);
    callAll();
    NakGo::setWindowHost(nullptr);
    callAll();
    EXPECT_EQ(host.calls.toStdString(), "0 open 5 2 1;notified 5;activate;1 0 ");
}

} // namespace
