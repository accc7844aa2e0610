// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notifs_fixture.h"
#include "notifs_scroll_area.h"
#include "notifs_view.h"
#include "wait_until.h"

#include <QPushButton>
#include <QScrollBar>
#include <QTest>

namespace {

class NotifsView : public NotifsTest {
protected:
    // a: two actions; b: none, dismissable; c: neither; d: one action.
    NotifsView()
    {
        struct {
            char const* name;
            int actions;
            bool dismissable;
        } const kinds[] = {
            { "a", 2, true }, { "b", 0, true }, { "c", 0, false }, { "d", 1, true }
        };
        for (auto const& kind : kinds) {
            m_notifs.push_back(make(kind.name, kind.actions));
            m_notifs.back()->setDismissable(kind.dismissable);
            m_notifs.back()->setEnabled(true);
            NakTextNotif* const notif = m_notifs.back().get();
            QObject::connect(notif, &NakTextNotif::dismissed,
                             [notif] { notif->setEnabled(false); });
        }
        m_view.resize(400, 300);
        m_view.show();
        m_view.activateWindow();
        m_list->setFocus();
        waitUntil([this] { return m_view.tabText() == QLatin1String("Notifications (4)"); });
    }

    std::string caret() const
    {
        return std::to_string(m_list->caretRow()) + '.' + std::to_string(m_list->caretAction());
    }
    QWidget* canvas() { return m_list->viewport(); }
    QPoint middleOf(int row, int action) { return m_list->actionRect(row, action).center(); }

    std::vector<std::unique_ptr<NakTextNotif>> m_notifs;
    NakNotifsView m_view;
    NakNotifsScrollArea* m_list = m_view.findChild<NakNotifsScrollArea*>();
};

TEST_F(NotifsView, KeysMoveTheCaretAndActOnIt)
{
    struct {
        Qt::Key key;
        char const* caret;
        char const* told;
    } const steps[] = {
        { Qt::Key_Up, "0.0", "" },
        { Qt::Key_Return, "0.0", "action a0;" },
        { Qt::Key_Right, "0.1", "" },
        { Qt::Key_Enter, "0.1", "action a1;" },
        { Qt::Key_Right, "0.2", "" },
        { Qt::Key_Right, "0.2", "" }, // the last one
        { Qt::Key_Down, "1.0", "" }, // has the dismiss action alone
        { Qt::Key_Down, "2.-1", "" }, // has none
        { Qt::Key_Return, "2.-1", "" },
        { Qt::Key_Delete, "2.-1", "" },
        { Qt::Key_Left, "2.-1", "" },
        { Qt::Key_Down, "3.0", "" },
        { Qt::Key_Down, "3.0", "" },
        { Qt::Key_Right, "3.1", "" },
        { Qt::Key_Return, "2.-1", "dismissed d;" }, // the last one: up to its neighbour
        { Qt::Key_Up, "1.0", "" },
        { Qt::Key_Delete, "1.-1", "dismissed b;" }, // the one below moves up
        { Qt::Key_Up, "0.0", "" },
    };
    EXPECT_EQ(caret(), "0.0");
    for (auto const& step : steps) {
        QTest::keyClick(m_list, step.key);
        EXPECT_EQ(caret(), step.caret) << step.key;
        EXPECT_EQ(takeTold(), step.told) << step.key;
    }
}

TEST_F(NotifsView, TheMousePicksWhatIsUnderIt)
{
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, middleOf(0, 1));
    EXPECT_EQ(caret() + ' ' + takeTold(), "0.1 action a1;");
    QTest::mouseClick(canvas(), Qt::RightButton, {}, middleOf(0, 1));
    // Let go beside it.
    QTest::mousePress(canvas(), Qt::LeftButton, {}, middleOf(0, 1));
    QTest::mouseRelease(canvas(), Qt::LeftButton, {}, middleOf(0, 0));
    QTest::mouseRelease(canvas(), Qt::LeftButton, {}, middleOf(0, 1));
    EXPECT_EQ(takeTold(), "");
    // What is pressed goes away before the button comes up.
    QTest::mousePress(canvas(), Qt::LeftButton, {}, middleOf(1, 0));
    m_notifs.at(1)->setEnabled(false);
    QTest::mouseRelease(canvas(), Qt::LeftButton, {}, QPoint(1, 1));
    EXPECT_EQ(caret() + ' ' + takeTold(), "1.-1 ");
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, middleOf(2, 1));
    EXPECT_EQ(takeTold(), "dismissed d;");
}

TEST_F(NotifsView, TheCaretsRowScrollsIntoViewAndTheTabCounts)
{
    QStringList texts;
    QObject::connect(&m_view, &NakNotifsView::tabDataChanged,
                     [&] { texts.append(m_view.tabText()); });
    m_view.resize(400, 150);
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(m_list, Qt::Key_Down);
    EXPECT_EQ(m_list->rowRect(3).bottom() + 1, canvas()->height());
    QRect const last = m_list->rowRect(3);
    m_notifs.at(0)->setMultiline(true); // out of sight above
    m_notifs.at(0)->setText(QStringLiteral("a\na\na"));
    EXPECT_EQ(m_list->rowRect(3), last);
    for (int i = 0; i < 4; ++i)
        QTest::keyClick(m_list, Qt::Key_Up);
    EXPECT_EQ(m_list->rowRect(0).top(), 0);

    auto* const dismissAll = m_view.findChild<QPushButton*>();
    dismissAll->click();
    EXPECT_EQ(takeTold(), "dismissed a;dismissed b;dismissed d;");
    EXPECT_TRUE(waitUntil([&] { return texts.size() == 1; }));
    EXPECT_FALSE(dismissAll->isEnabled());
    m_notifs.clear();
    EXPECT_TRUE(waitUntil([&] { return texts.size() == 2; }));
    EXPECT_EQ(texts.join(u'|').toStdString(), "Notifications (1)|Notifications");
    EXPECT_EQ(caret(), "-1.-1");
}

} // namespace
