// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "data_paths.h"
#include "settings_dialog.h"
#include "settings_file.h"
#include "settings_font_control.h"
#include "settings_form.h"
#include "settings_key_field.h"
#include "shell_fixture.h"
#include "widget_acts.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFontComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>

namespace {

class SettingsDialogTest : public ShellTest {
protected:
    SettingsDialogTest()
    {
        m_preferences = NakPreferences::defaults();
        m_preferences.saveToSettingsFile();
    }
    ~SettingsDialogTest() override
    {
        NakSettingsDialog::closeSettingsDialog();
        settle();
    }

    static QVector<NakSettingsDialog*> dialogs()
    {
        QVector<NakSettingsDialog*> found;
        auto const windows = QApplication::topLevelWidgets();
        for (QWidget* window : windows)
            if (auto* const dialog = qobject_cast<NakSettingsDialog*>(window))
                found << dialog;
        return found;
    }

    static NakSettingsDialog* summoned()
    {
        NakSettingsDialog::summonSettingsDialog();
        settle();
        return dialogs().value(0);
    }

    static NakSettingsForm* page(int index)
    {
        auto* const pages = dialogs().first()->findChild<QTabWidget*>();
        pages->setCurrentIndex(index);
        return qobject_cast<NakSettingsForm*>(
            qobject_cast<QScrollArea*>(pages->widget(index))->widget());
    }

    // The one whose text or label begins so, without the mark of the mnemonic.
    template <typename T> static T* control(int pageIndex, char const* label)
    {
        auto const begins = [label](QString text) {
            return text.remove(QLatin1Char('&')).startsWith(QLatin1String(label));
        };
        for (QCheckBox* box : page(pageIndex)->findChildren<QCheckBox*>())
            if (begins(box->text()) && qobject_cast<T*>(box))
                return qobject_cast<T*>(static_cast<QWidget*>(box));
        for (QLabel* found : page(pageIndex)->findChildren<QLabel*>())
            if (begins(found->text()) && qobject_cast<T*>(found->buddy()))
                return qobject_cast<T*>(found->buddy());
        ADD_FAILURE() << "no control " << label;
        return nullptr;
    }

    static void press(char const* button)
    {
        EXPECT_TRUE(clickButton(dialogs().first(), button)) << button;
        settle();
    }

    static QMap<QString, QVariant> file()
    {
        NakSettingsFile const settings;
        QMap<QString, QVariant> values;
        for (QString const& key : settings.allKeys())
            values[key] = settings.value(key);
        return values;
    }
};

// As the user would; false for what is only a part of another control.
bool change(QWidget* widget)
{
    if (auto* const box = qobject_cast<QCheckBox*>(widget))
        box->click();
    else if (auto* const number = qobject_cast<QAbstractSpinBox*>(widget))
        number->stepBy(1);
    else if (qobject_cast<NakSettingsKeyField*>(widget))
        QTest::keyClick(widget, Qt::Key_F7);
    else if (qobject_cast<QFontComboBox*>(widget) || widget->inherits("QExpandingLineEdit")
             || qobject_cast<QAbstractSpinBox*>(widget->parent())
             || qobject_cast<QComboBox*>(widget->parent()))
        return false;
    else if (auto* const choice = qobject_cast<QComboBox*>(widget))
        choice->setCurrentIndex(choice->currentIndex() > 0 ? 0 : choice->count() - 1);
    else if (auto* const line = qobject_cast<QLineEdit*>(widget))
        QTest::keyClicks(line, QStringLiteral("x"));
    else
        return false;
    return true;
}

} // namespace

TEST_F(SettingsDialogTest, EveryPreferenceHasOneControl)
{
    m_preferences.useAppOverride = true; // its font is not stored otherwise
    m_preferences.inputDevice = m_preferences.outputDevice = QStringLiteral("device");
    m_preferences.saveToSettingsFile();
    summoned();
    QStringList bound;
    for (int index = 0; index < 5; ++index) {
        for (QWidget* widget : page(index)->findChildren<QWidget*>()) {
            // Those of the page that need another field are off until that is on.
            widget->setEnabled(true);
            auto const before = file();
            if (!change(widget))
                continue;
            m_preferences.saveToSettingsFile();
            auto const after = file();
            QStringList keys;
            for (QString key : after.keys() + before.keys())
                if (before.value(key) != after.value(key))
                    keys << key.remove(QLatin1String("_style_strategy"));
            keys.removeDuplicates();
            if (keys.contains(QLatin1String("text_style/use_app_override"))) {
                change(widget); // on again; off, the font of its own row is not stored
                keys.removeAll(QStringLiteral("text_style/app_override"));
            }
            EXPECT_LE(keys.size(), 1) << keys.join(QLatin1Char(' ')).toStdString();
            bound << keys;
        }
    }
    bound.removeDuplicates();
    bound.sort();
    QStringList wanted = NakPreferencesImpl::keys();
    wanted.sort();
    EXPECT_EQ(bound.join(QLatin1Char('\n')).toStdString(),
              wanted.join(QLatin1Char('\n')).toStdString());
}

TEST_F(SettingsDialogTest, WhatEachWayOutKeeps)
{
    struct {
        char const* button; // null: the window is closed
        bool keepsPreference;
        bool keepsProxy;
        bool stays;
    } const cases[] = { { "OK", true, true, false },
                        { "Apply", true, true, true },
                        { "Cancel", false, false, false },
                        { nullptr, true, false, false } };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.button ? c.button : "close");
        m_preferences = NakPreferences::defaults();
        m_preferences.useNetworkProxy = true;
        m_preferences.saveToSettingsFile();
        summoned();
        QSignalSpy const told(&m_events, &NakGlobalEvents::preferencesChanged);
        control<QCheckBox>(0, "Show the status bar")->click();
        EXPECT_FALSE(m_preferences.showStatusBar); // at once
        EXPECT_EQ(told.count(), 1);
        EXPECT_EQ(readSetting("misc/show_status_bar").toBool(), true);
        QTest::keyClicks(control<QLineEdit>(4, "Host"), QStringLiteral("h"));
        if (c.button)
            press(c.button);
        else
            NakSettingsDialog::closeSettingsDialog();
        settle();
        EXPECT_EQ(told.count(), c.button ? 2 : 1);
        EXPECT_EQ(m_preferences.showStatusBar, !c.keepsPreference);
        EXPECT_EQ(readSetting("misc/show_status_bar").toBool(), !c.keepsPreference);
        EXPECT_EQ(readSetting("experimental_proxy/hostname").toString(),
                  c.keepsProxy ? QStringLiteral("h") : QString());
        EXPECT_EQ(dialogs().size(), c.stays ? 1 : 0);
        NakSettingsDialog::closeSettingsDialog();
        settle();
        writeSetting("experimental_proxy/hostname", {});
    }
}

TEST_F(SettingsDialogTest, ProxyThatIsSwitchedOffLeavesNoPassword)
{
    m_preferences.useNetworkProxy = true;
    summoned();
    QTest::keyClicks(control<QLineEdit>(4, "Password"), QStringLiteral("secret"));
    press("Apply");
    EXPECT_EQ(readSetting("experimental_proxy/password").toString(), QStringLiteral("secret"));
    control<QCheckBox>(4, "Use a proxy")->click();
    press("OK");
    for (QString const& key : file().keys())
        EXPECT_FALSE(key.startsWith(QLatin1String("experimental_proxy"))) << key.toStdString();
}

TEST_F(SettingsDialogTest, CancelBringsBackTheProxyThatWasErased)
{
    m_preferences.useNetworkProxy = true;
    m_preferences.saveToSettingsFile();
    writeSetting("experimental_proxy/type", QStringLiteral("http"));
    writeSetting("experimental_proxy/hostname", QStringLiteral("h"));
    auto const before = file();
    summoned();
    control<QCheckBox>(4, "Use a proxy")->click();
    press("Apply");
    EXPECT_NE(file(), before);
    press("Cancel");
    auto const after = file();
    for (QString const& key : before.keys())
        EXPECT_EQ(after.value(key), before.value(key)) << key.toStdString();
}

TEST_F(SettingsDialogTest, ReturnIsForTheButtonThatHasTheFocus)
{
    struct {
        char const* button; // null: none has the focus
        bool keepsPreference;
        bool stays;
    } const cases[] = { { nullptr, true, false },
                        { "OK", true, false },
                        { "Cancel", false, false },
                        { "Apply", true, true },
                        { "Reset Page", false, true } };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.button ? c.button : "none");
        NakSettingsDialog* const dialog = summoned();
        auto* const box = control<QCheckBox>(0, "Show the status bar");
        box->setChecked(false);
        QTest::keyClick(c.button ? findByText<QPushButton>(dialog, c.button)
                                 : static_cast<QWidget*>(box),
                        Qt::Key_Return);
        settle();
        EXPECT_EQ(m_preferences.showStatusBar, !c.keepsPreference);
        EXPECT_EQ(dialogs().size(), c.stays ? 1 : 0);
        NakSettingsDialog::closeSettingsDialog();
        settle();
        m_preferences.showStatusBar = true;
    }
}

TEST_F(SettingsDialogTest, CtrlTabTurnsThePageWhateverHasTheFocus)
{
    auto* const pages = summoned()->findChild<QTabWidget*>();
    QPair<int, char const*> const cases[] = {
        { 0, "Idle after" }, { 2, "Theme" }, { 2, "Code" }, { 3, "Push to talk" }, { 4, "Type" }
    };
    for (auto const& [index, label] : cases) {
        QWidget* widget = control<QWidget>(index, label);
        QTest::keyClick(widget->focusProxy() ? widget->focusProxy() : widget, Qt::Key_Tab,
                        Qt::ControlModifier);
        EXPECT_EQ(pages->currentIndex(), (index + 1) % 5) << label;
    }
}

TEST_F(SettingsDialogTest, KeyField)
{
    summoned();
    auto* const field = control<NakSettingsKeyField>(3, "Push to talk");
    std::string seen;
    for (char const* keys : { "F9", "Ctrl+W", "Alt+T", "Delete", "Shift+F2, A", "Backspace" }) {
        pressKeys(field, keys);
        seen += m_preferences.pushToTalkBinding.toStdString() + '|';
    }
    QTest::keyClick(field, Qt::Key_Shift);
    QTest::keyClick(field, Qt::Key_Exclam, Qt::ShiftModifier);
    seen += m_preferences.pushToTalkBinding.toStdString() + ' ' + field->text().toStdString();
    EXPECT_EQ(seen, "F9|Ctrl+W|Alt+T||A||! !");
    field->actions().first()->trigger();
    EXPECT_EQ(m_preferences.pushToTalkBinding, QString());
    QTest::keyClick(field, Qt::Key_Escape); // is Cancel here too
    settle();
    EXPECT_EQ(dialogs().size(), 0);
}

TEST_F(SettingsDialogTest, ChangesFromElsewhereAreTakenOver)
{
    NakSettingsDialog* const dialog = summoned();
    auto* const box = control<QCheckBox>(0, "Show the status bar");
    m_preferences.showStatusBar = false;
    m_preferences.userListWidth = 300;
    emit m_events.preferencesChanged();
    EXPECT_FALSE(box->isChecked());
    control<QCheckBox>(0, "Show previews")->click();
    EXPECT_FALSE(m_preferences.showStatusBar);
    EXPECT_EQ(m_preferences.userListWidth, 300);
    EXPECT_EQ(summoned(), dialog);
    EXPECT_EQ(dialogs().size(), 1);
}

TEST_F(SettingsDialogTest, ResetIsForOnePage)
{
    m_preferences.inputGain = 2;
    m_preferences.messageMonospaceFont = QFont(QStringLiteral("Other"), 30);
    m_preferences.restoreTabs = false;
    summoned();
    for (int index : { 2, 3 }) {
        page(index);
        press("Reset Page");
    }
    EXPECT_EQ(m_preferences.inputGain, 1);
    EXPECT_EQ(m_preferences.messageMonospaceFont, NakPreferences::defaults().messageMonospaceFont);
    EXPECT_FALSE(m_preferences.restoreTabs);
}

TEST_F(SettingsDialogTest, LooksOnlyRoundWhatTheUserTouches)
{
    m_preferences.inputGateThreshold = 0.1234567F;
    m_preferences.userListWidth = 5000;
    NakPreferences const before = m_preferences;
    summoned();
    for (int index = 0; index < 5; ++index)
        page(index);
    press("OK");
    EXPECT_EQ(m_preferences.inputGateThreshold, before.inputGateThreshold);
    EXPECT_EQ(m_preferences.userListWidth, 5000);
    summoned();
    auto* const gate = control<QDoubleSpinBox>(3, "Gate");
    gate->setValue(-20);
    EXPECT_FLOAT_EQ(m_preferences.inputGateThreshold, 0.1F);
}

TEST_F(SettingsDialogTest, MenuAndMnemonics)
{
    auto const entries = summoned()->menuBar()->actions().first()->menu()->actions();
    EXPECT_EQ(textsOf(entries),
              "Open Settings && Data Path|Copy Settings && Data Path to Clipboard|-|Close Window");
    entries.at(1)->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(),
              QDir::toNativeSeparators(NakDataPaths::appDataPath()));
    for (int index = 0; index < 5; ++index) {
        QStringList keys{ QStringLiteral("Alt+F"), QStringLiteral("Alt+G") }; // File, Reset Page
        for (QLabel* label : page(index)->findChildren<QLabel*>())
            keys << QKeySequence::mnemonic(label->buddy() ? label->text() : QString()).toString();
        for (QCheckBox* box : page(index)->findChildren<QCheckBox*>())
            keys << QKeySequence::mnemonic(box->text()).toString();
        keys.removeAll(QString());
        EXPECT_EQ(keys.removeDuplicates(), 0) << index;
    }
}
