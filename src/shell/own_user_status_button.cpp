// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "own_user_status_button.h"

#include "dis_accts_component.h"
#include "dis_manager.h"
#include "plain_text.h"
#include "presence_circle.h"

#include <QActionGroup>
#include <QHelpEvent>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

namespace {

constexpr int iconRoom = NakStyle::presenceCircleSize + 4;
constexpr int maxNameWidth = 22; // average characters
constexpr int maxGameLength = 128;

struct Choice {
    DisUserStatusCode status;
    char const* text;
};
constexpr Choice choices[] = {
    { DisUserStatusCode::Online, QT_TRANSLATE_NOOP("NakOwnUserStatusButton", "&Online") },
    { DisUserStatusCode::Idle, QT_TRANSLATE_NOOP("NakOwnUserStatusButton", "&Idle") },
    { DisUserStatusCode::DoNotDisturb,
      QT_TRANSLATE_NOOP("NakOwnUserStatusButton", "&Do Not Disturb") },
    { DisUserStatusCode::Offline, QT_TRANSLATE_NOOP("NakOwnUserStatusButton", "In&visible") },
};

// Whom the button stands for: the active user, else the one that connects by itself, else the
// first.
DisStoredAccount const* shownAccount()
{
    if (!g_disManager)
        return nullptr;
    auto const accounts = g_disManager->accounts();
    DisStoredAccount const* shown = nullptr;
    for (DisStoredAccount const* account : accounts) {
        if (account->userId.isValid() && account->userId == g_disManager->activeUserId())
            return account;
        if (!shown || (account->autoConnect && !shown->autoConnect))
            shown = account;
    }
    return shown;
}

bool isSignedIn(DisStoredAccount const& account)
{
    return account.connectionState == DisSessionStateType::Connected
        && account.userId == g_disManager->activeUserId();
}

// The circle in the middle of a square: the toolkit takes the size of a smaller picture for that of
// the circle at another density, and puts texts close to it.
QIcon circleIcon(QWidget const& widget, DisUserStatusCode status, int extent)
{
    double const density = widget.devicePixelRatioF();
    QPixmap picture(QSize(extent, extent) * density);
    picture.setDevicePixelRatio(density);
    picture.fill(Qt::transparent);
    int const margin = (extent - NakStyle::presenceCircleSize) / 2;
    QPainter(&picture).drawPixmap(
        margin, margin,
        NakStyle::presenceCircle(status, NakStyle::presenceColor(status, widget.palette()),
                                 density));
    return picture;
}

} // namespace

NakOwnUserStatusButton::NakOwnUserStatusButton(QWidget* parent)
    : QToolButton(parent)
{
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus); // the mouse leaves the focus where the user types
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setIconSize({ iconRoom, iconRoom });
    connect(this, &QAbstractButton::pressed, this, &NakOwnUserStatusButton::popUpMenu);
    connect(&m_user, &DisUserListener::propertiesChanged, this, &NakOwnUserStatusButton::refresh);
    if (g_disManager) {
        connect(g_disManager, &DisManager::accountsChanged, this,
                &NakOwnUserStatusButton::watchAccounts);
        connect(g_disManager, &DisManager::activeUserIdChanged, this,
                &NakOwnUserStatusButton::refresh);
        connect(g_disManager, &DisManager::ownStatusChanged, this,
                &NakOwnUserStatusButton::refresh);
    }
    showCircle();
    watchAccounts();
}

NakOwnUserStatusButton::~NakOwnUserStatusButton() = default;

// --- what it shows ---

NakOwnUserStatusButton::State NakOwnUserStatusButton::stateOf(DisStoredAccount const* account)
{
    if (!account)
        return State::NoAccount;
    if (isSignedIn(*account))
        return State::SignedIn;
    bool const rejected = account->authTokenState == DisStoredAccount::AuthTokenState::Rejected;
    return rejected ? State::Rejected : State::Offline;
}

void NakOwnUserStatusButton::watchAccounts()
{
    auto const accounts = g_disManager ? g_disManager->accounts() : QVector<DisStoredAccount*>();
    for (DisStoredAccount const* account : accounts) {
        for (auto const signal :
             { &DisStoredAccount::connectionStateChanged, &DisStoredAccount::autoConnectChanged,
               &DisStoredAccount::userInfoChangedBySession,
               &DisStoredAccount::authTokenStateChanged })
            connect(account, signal, this, &NakOwnUserStatusButton::refresh, Qt::UniqueConnection);
    }
    refresh();
}

void NakOwnUserStatusButton::refresh()
{
    DisStoredAccount const* const account = shownAccount();
    m_state = stateOf(account);
    m_user.setParams({ m_state == State::SignedIn ? account->userId : FlakeId(), {}, -1 });
    QString text = tr("No account");
    if (account) {
        bool const live = !m_user.userName().isEmpty(); // the account's is that of the last READY
        m_name = NakPlainText::titleLine(live ? m_user.userName()
                                              : DisAcctsComponentImpl::disAcctName(*account));
        m_discriminator = live ? m_user.userDiscrim() : QString();
        text = m_name;
    }
    text = fontMetrics().elidedText(text, Qt::ElideRight,
                                    maxNameWidth * fontMetrics().averageCharWidth());
    if (m_state == State::Offline)
        text = tr("%1 (offline)").arg(text);
    else if (m_state == State::Rejected)
        text = tr("%1 (token was rejected)").arg(text);
    setText(NakPlainText::withoutMnemonics(text));
    setAccessibleName(toolTipText());
    DisUserStatusCode const status =
        m_state == State::SignedIn ? g_disManager->ownStatus() : DisUserStatusCode::Offline;
    if (std::exchange(m_status, status) != status)
        showCircle();
}

void NakOwnUserStatusButton::showCircle()
{
    setIcon(circleIcon(*this, m_status, iconRoom));
}

QString NakOwnUserStatusButton::toolTipText() const
{
    if (m_state == State::NoAccount)
        return tr("No Discord account");
    if (m_state == State::Rejected)
        return m_name + QLatin1Char('\n') + tr("Its token was rejected. Change it in Accounts.");
    QString status = tr("Offline");
    if (m_state == State::SignedIn) {
        auto const choice =
            std::find_if(std::begin(choices), std::end(choices),
                         [](Choice const& c) { return c.status == g_disManager->ownStatus(); });
        status = tr(choice->text).remove(u'&');
        QString const game = g_disManager->playingGameName();
        if (!game.isEmpty())
            status = tr("%1, playing %2").arg(status, game);
    }
    return m_name + m_discriminator + QLatin1Char('\n') + status;
}

bool NakOwnUserStatusButton::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QToolButton::event(event);
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       NakPlainText::toolTip(toolTipText()), this);
    return true;
}

void NakOwnUserStatusButton::changeEvent(QEvent* event)
{
    QToolButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        showCircle();
    else if (event->type() == QEvent::FontChange)
        refresh();
}

// --- its menu ---

void NakOwnUserStatusButton::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        popUpMenu();
    else
        QToolButton::keyPressEvent(event);
}

void NakOwnUserStatusButton::popUpMenu()
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillMenu(menu);
    connect(menu, &QMenu::aboutToHide, this, [this] { setDown(false); });
    setDown(true);
    QPoint const corner =
        isVisible() ? mapToGlobal({ 0, 0 }) : window()->mapToGlobal(window()->rect().bottomLeft());
    menu->popup(corner - QPoint(0, menu->sizeHint().height()));
}

void NakOwnUserStatusButton::fillMenu(QMenu* menu)
{
    addStatusActions(menu);
    menu->addSeparator();
    QAction* const game =
        menu->addAction(tr("Set Playing &Game..."), this, &NakOwnUserStatusButton::askPlayingGame);
    game->setEnabled(m_state == State::SignedIn);
    menu->addSeparator();
    menu->addAction(tr("&Accounts"), this, &NakOwnUserStatusButton::accountsWanted);
}

// What was chosen is checked, though others may see something else at the moment.
void NakOwnUserStatusButton::addStatusActions(QMenu* menu)
{
    auto* const group = new QActionGroup(menu);
    group->setEnabled(m_state == State::SignedIn);
    int const iconSize = menu->style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, menu);
    for (Choice const& choice : choices) {
        QAction* const action = menu->addAction(tr(choice.text));
        action->setIcon(circleIcon(*this, choice.status, iconSize));
        action->setIconVisibleInMenu(true);
        action->setCheckable(true);
        action->setChecked(g_disManager && g_disManager->preferredUserStatus() == choice.status);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [status = choice.status] {
            g_disManager->setPreferredUserStatus(g_disManager->activeUserId(), status);
        });
    }
}

void NakOwnUserStatusButton::askPlayingGame()
{
    auto* const dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Set Playing Game"));
    dialog->setLabelText(tr("Others see that you are playing this. Leave it empty for nothing."));
    dialog->setTextValue(g_disManager->playingGameName());
    if (auto* const edit = dialog->findChild<QLineEdit*>())
        edit->setMaxLength(maxGameLength);
    connect(dialog, &QInputDialog::textValueSelected, this, [](QString const& text) {
        g_disManager->setPlayingGameName(g_disManager->activeUserId(), text.simplified());
    });
    dialog->open();
}
