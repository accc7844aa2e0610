// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notifs_fixture.h"
#include "notifs_layout.h"
#include "wait_until.h"

#include <QWidget>

namespace {

class Notifs : public NotifsTest, public NakNotifVisContainerInterface {
protected:
    Notifs()
    {
        auto* const manager = NakNotif::g_nakNotifManager;
        QObject::connect(manager, &NakNotifManager::countChanged,
                         [this, manager] { tell("count %1", manager->count()); });
        QObject::connect(manager, &NakNotifManager::itemAdded,
                         [this](NakNotifItem* item) { tell("added %1", item->objectName()); });
        QObject::connect(manager, &NakNotifManager::itemRemoved,
                         [this](NakNotifItem* item) { tell("removed %1", item->objectName()); });
        QObject::connect(manager, &NakNotifManager::itemActionsChanged,
                         [this](NakNotifItem*, bool dismissable, int actions) {
                             tell("was %1", (dismissable ? 100 : 0) + actions);
                         });
    }

    void heightChanged(NakNotifVis* vis) override { tell("height %1", vis->height() / m_line); }
    void rectDirtied(NakNotifVis*, QRect const&) override { tell("dirty%1", QString()); }
    QWidget* containingWidget(NakNotifVis const*) const override { return &m_widget; }
    QStyle* style() const override { return m_widget.style(); }

    mutable QWidget m_widget;
    int const m_line = m_widget.fontMetrics().height();
};

} // namespace

TEST_F(Notifs, AreCountedOncePerEventAndKeptInTheOrderOfEnabling)
{
    std::vector<std::unique_ptr<NakTextNotif>> notifs;
    for (char const* name : { "a", "b", "c" })
        notifs.push_back(make(name));
    for (int index : { 2, 0, 1, 0 })
        notifs.at(index)->setEnabled(true);
    EXPECT_EQ(takeTold(), "added c;added a;added b;");
    EXPECT_TRUE(waitUntil([this] { return !m_told.isEmpty(); }));
    notifs.at(0)->setActions({ NakNotifAction(QStringLiteral("x")) });
    notifs.at(0)->setDismissable(false);
    notifs.at(0)->setActions({ NakNotifAction(QStringLiteral("x")) }); // no change
    NakNotif::g_nakNotifManager->dismissAll();
    EXPECT_EQ(takeTold(), "count 3;was 100;was 101;dismissed c;dismissed b;");

    // Whoever hears of a dismissal may take others away.
    QObject::connect(notifs.at(2).get(), &NakTextNotif::dismissed, [&] { notifs.at(1).reset(); });
    NakNotif::g_nakNotifManager->dismissAll();
    notifs.at(2)->setEnabled(false);
    EXPECT_EQ(takeTold(), "dismissed c;removed b;removed c;");
    EXPECT_EQ(NakNotif::g_nakNotifManager->items(), QVector<NakNotifItem*>{ notifs.at(0)->item() });
    EXPECT_TRUE(waitUntil([this] { return !m_told.isEmpty(); }));
    EXPECT_EQ(takeTold(), "count 1;");
}

TEST_F(Notifs, ATextTakesAsManyLinesAsItMay)
{
    auto notif = make("a");
    std::unique_ptr<NakNotifVis> vis(notif->item()->createVis({ nullptr, this }));
    vis->setWidthInContainer(m_line * 20);
    vis->setContainerReady(true);
    notif->setText(QStringLiteral("one\ntwo\r\nthree").repeated(2));
    notif->setMultiline(true);
    notif->setText(QString(100000, u'w'));
    vis->setWidthInContainer(0); // not even the dots of the last line have room
    notif->setText(QString());
    notif.reset(); // the form may stay a moment longer
    vis->setWidthInContainer(m_line * 20);
    // Heights count the distances above and below as less than a line.
    EXPECT_EQ(takeTold(), "dirty;height 5;dirty;height 12;dirty;height 11;height 1;dirty;");
}

TEST_F(Notifs, ActionsShareTheRoomThereIs)
{
    auto const notif = make("a");
    notif->setActions({ NakNotifAction(QStringLiteral("x")), NakNotifAction(QString(9, u'W')) });
    NakNotifsMetrics const metrics(m_widget.font());
    auto const textsAt = [&](int width) {
        QStringList texts;
        int end = 0;
        for (auto const& action : layoutActions(*notif->item(), metrics, 0, width).actions) {
            EXPECT_GE(action.rect.left(), end);
            end = action.rect.right() + 1;
            texts.append(action.text);
        }
        EXPECT_LE(end, width);
        return texts.join(u'|').toStdString();
    };
    int needed = 2000;
    while (textsAt(needed - 1) == "x|WWWWWWWWW|Dismiss")
        --needed;
    EXPECT_EQ(textsAt(needed - 1), "x|WWWWWWWWW|");
    EXPECT_EQ(textsAt(needed / 2).substr(0, 3), "x|W") << "what is short is not cut";
}

TEST_F(Notifs, WithoutATrayNoMessageIsWanted)
{
    m_preferences.showSystemTrayIcon = m_preferences.useSystemTrayMessages = true;
    emit m_events.preferencesChanged();
    auto const notif = make("a");
    EXPECT_FALSE(NakNotifItem::trayMessagesEnabled());
    EXPECT_FALSE(NakNotifItem::shouldCreateTrayMessages());
    notif->showTrayMessage(QStringLiteral("t"), QStringLiteral("x"), QIcon());
}
