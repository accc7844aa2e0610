// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notif_tray.h"

#include <QMenu>
#include <QSystemTrayIcon>

static void initImageResource()
{
    Q_INIT_RESOURCE(nakwire_images);
}

namespace {

constexpr int messageMSecs = 10000;
constexpr int titleMaxLength = 256; // code units
constexpr int textMaxLength = 1024;

// Desktops may read the text of a message as markup; a tag with an invisible character in it is
// none.
QString withoutMarkup(QString const& text)
{
    QString plain = text.left(textMaxLength);
    plain.replace(u'<', QStringLiteral("<\u200B"));
    return plain;
}

} // namespace

NakNotifTray::NakNotifTray() = default;

NakNotifTray::~NakNotifTray() = default;

void NakNotifTray::hideOrShowTrayIcon(bool wanted)
{
    if (wanted == (m_icon != nullptr))
        return;
    if (!wanted) {
        m_icon.reset();
        m_menu.reset();
        return;
    }
    makeMenu();
    makeIcon();
}

bool NakNotifTray::isVisible() const
{
    // The toolkit's icon calls itself visible where there is no tray, too. On a session bus it must
    // not be asked for the tray again and again: each time it waits for the desktop's answers, and
    // keeps one more connection to the bus open until the program ends.
    return m_icon && (m_onSessionBus || QSystemTrayIcon::isSystemTrayAvailable());
}

void NakNotifTray::showMessage(QString const& title, QString const& text, QIcon const& icon)
{
    m_icon->showMessage(title.left(titleMaxLength), withoutMarkup(text), icon, messageMSecs);
}

void NakNotifTray::makeMenu()
{
    m_menu = std::make_unique<QMenu>();
    connect(m_menu->addAction(QStringLiteral("Open Chat Window")), &QAction::triggered, this,
            &NakNotifTray::activated);
    m_menu->addAction(QStringLiteral("Nakwire " NAKWIRE_VERSION))->setEnabled(false);
    connect(m_menu->addAction(QStringLiteral("Quit Nakwire")), &QAction::triggered, this,
            &NakNotifTray::quitRequested);
}

void NakNotifTray::makeIcon()
{
    initImageResource();
    m_icon =
        std::make_unique<QSystemTrayIcon>(QIcon(QStringLiteral(":/images/NakwireTrayIcon.svg")));
    m_icon->setToolTip(QStringLiteral("Nakwire"));
    m_icon->setContextMenu(m_menu.get());
    connect(m_icon.get(), &QSystemTrayIcon::messageClicked, this, &NakNotifTray::messageClicked);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                    emit activated();
            });
    m_icon->show();
    // In a tray that is a window the icon has a place.
    m_onSessionBus = m_icon->geometry().isNull() && QSystemTrayIcon::isSystemTrayAvailable();
}
