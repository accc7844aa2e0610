// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_accts_component.h"

#include "dis_avatar_images.h"
#include "dis_client.h"

#include <QAction>
#include <QPainter>

namespace {

using Items = QVector<NakAcct::AcctItem*>;
using TokenState = DisStoredAccount::AuthTokenState;

struct DisAcctItem : NakAcct::AcctItem {
    explicit DisAcctItem(DisStoredAccount* stored)
        : AcctItem(NakAcct::ServiceType::Discord)
        , account(stored)
    {
    }
    QPointer<DisStoredAccount> account;
};

DisStoredAccount* accountOf(NakAcct::AcctItem const* item)
{
    return static_cast<DisAcctItem const*>(item)->account;
}

bool isConnected(DisStoredAccount const& account)
{
    return account.connectionState != DisSessionStateType::Disconnected;
}

bool anySession()
{
    return !g_disClient->sessions().isEmpty();
}

// The account's avatar, which the image store can have before any session tells of the user.
class EarlyAvatar : public QObject {
public:
    EarlyAvatar(int height, std::function<void()> const& changed)
        : m_height(height)
    {
        connect(g_disAvatarImages, &DisAvatarImages::avatarPresented, this,
                [this, changed](FlakeId const& user) {
                    if (user == m_user)
                        changed();
                });
    }
    // An account that nobody is known of has a glyph, in the colour of the text beside it.
    QPixmap pixmap(DisStoredAccount const& account, QColor const& textColor)
    {
        m_user = account.userId;
        QSize const size(m_height, m_height);
        if (!m_user.isValid())
            return g_disAvatarImages->avatarPlaceholder(size, textColor);
        if (account.avatarName.isEmpty())
            return g_disAvatarImages->noAvatarPixmap(size);
        return g_disAvatarImages->getAvatarWithName(m_user, account.avatarName, m_height).pixmap();
    }

private:
    int m_height;
    FlakeId m_user;
};

// Name and discriminator above; how it stands with the connection and the token below.
class DisAcctVis : public NakAcct::AcctVis {
public:
    DisAcctVis(DisStoredAccount* account, NakAcct::AcctVisCreateParams const& params)
        : AcctVis(params)
        , m_account(account)
        , m_avatar(linesPerRow * lineHeight(), params.requestRepaint)
    {
    }

    void paint(QPainter* painter, QRect const& row,
               NakAcct::AcctVisPaintOption const& option) override
    {
        if (!m_account)
            return;
        QPalette::ColorGroup const group = option.active ? QPalette::Active : QPalette::Inactive;
        QColor const ink =
            palette().color(group, option.selected ? QPalette::HighlightedText : QPalette::Text);
        int const side = linesPerRow * lineHeight();
        QRect const place(row.left() + horizontalSpace(), lineRect(0, row).top(), side, side);
        painter->drawPixmap(place, m_avatar.pixmap(*m_account, ink));
        QRect const text = row.adjusted(side + 2 * horizontalSpace(), 0, -horizontalSpace(), 0);
        painter->setFont(font());
        painter->setPen(ink);
        drawLine(painter, lineRect(0, text), nameLine());
        if (!option.selected)
            painter->setPen(palette().color(QPalette::Disabled, QPalette::Text));
        drawLine(painter, lineRect(1, text), stateLine());
    }

private:
    QString nameLine() const
    {
        QString name = DisAcctsComponentImpl::disAcctName(*m_account);
        if (!m_account->discriminator.isEmpty())
            name += QLatin1Char('#') + m_account->discriminator;
        return m_account->autoConnect ? QObject::tr("%1 (Auto-connect)").arg(name) : name;
    }
    QString stateLine() const
    {
        QStringList parts{
            DisAcctsComponentImpl::connStateDecorations(m_account->connectionState).text,
            DisAcctsComponentImpl::tokenStateDeocrations(m_account->authTokenState, false).text
        };
        parts.removeAll(QString());
        return parts.join(QStringLiteral(" \u00b7 "));
    }
    void drawLine(QPainter* painter, QRect const& rect, QString const& text) const
    {
        painter->drawText(rect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                          painter->fontMetrics().elidedText(text, Qt::ElideRight, rect.width()));
    }

    QPointer<DisStoredAccount> m_account;
    EarlyAvatar m_avatar;
};

class DisAcctsModelComponent : public NakAcct::AcctsModelComponent {
public:
    explicit DisAcctsModelComponent(QObject* parent)
        : AcctsModelComponent(
            new NakAcct::ServiceGroupItem(NakAcct::ServiceType::Discord, tr("Discord")), parent)
    {
        connect(g_disManager, &DisManager::accountsChanged, this,
                &DisAcctsModelComponent::updateItems);
        updateItems();
    }

    NakAcct::SelectionCapabilities selectionCapabilities(Items const& items) override
    {
        NakAcct::SelectionCapabilities can;
        for (NakAcct::AcctItem const* item : items) {
            DisStoredAccount const* const account = accountOf(item);
            if (!account)
                continue;
            can.connect |= !isConnected(*account) && !anySession() && !account->authToken.isEmpty();
            can.disconnect |= isConnected(*account);
            can.enableAutoConnect |= !account->autoConnect;
            can.disableAutoConnect |= account->autoConnect;
            can.remove = true;
        }
        return can;
    }

    void itemActivated(NakAcct::AcctItem* item) override
    {
        DisStoredAccount* const account = accountOf(item);
        if (account && isConnected(*account))
            g_disManager->disconnectAccount(account);
        else if (account && !anySession())
            g_disManager->connectWithAccount(account);
    }

    QWidget* createDetailWidget(NakAcct::AcctItem* item, QWidget* parent) override
    {
        DisStoredAccount* const account = accountOf(item);
        return account ? DisAcctsComponentImpl::createDetailWidget(account, parent) : nullptr;
    }

    NakAcct::AcctVis* createVis(NakAcct::AcctItem* item,
                                NakAcct::AcctVisCreateParams const& params) override
    {
        return new DisAcctVis(accountOf(item), params);
    }

    QVector<QAction*> createAddAccountActions(QWidget* parent) const override
    {
        auto* const action =
            new QAction(g_disAvatarImages->discordLogoIcon(), tr("Add Discord Account…"), parent);
        connect(action, &QAction::triggered, parent,
                [parent] { DisAcctsComponentImpl::startTokenDialog(nullptr, parent); });
        return { action };
    }

    void connectAccts(Items const& items) override
    {
        forEach(items,
                [](DisStoredAccount* account) { g_disManager->connectWithAccount(account); });
    }
    void disconnectAccts(Items const& items) override
    {
        forEach(items, [](DisStoredAccount* account) { g_disManager->disconnectAccount(account); });
    }
    void removeAccts(Items const& items) override
    {
        forEach(items, [](DisStoredAccount* account) { g_disManager->removeAccount(account); });
    }
    void setAcctsAutoConnect(Items const& items, bool on) override
    {
        forEach(items, [on](DisStoredAccount* account) {
            g_disManager->setAutoConnectForAccount(account, on);
        });
    }

private:
    // What is done may take rows, and with them items, away.
    template <typename F> static void forEach(Items const& items, F const& what)
    {
        QVector<QPointer<DisStoredAccount>> accounts;
        for (NakAcct::AcctItem const* item : items)
            accounts.append(accountOf(item));
        for (auto const& account : qAsConst(accounts))
            if (account)
                what(account);
    }

    DisAcctItem* itemAt(int row) const { return static_cast<DisAcctItem*>(group()->child(row)); }

    void updateItems()
    {
        QVector<DisStoredAccount*> const accounts = g_disManager->accounts();
        QVector<DisStoredAccount*> added = accounts;
        for (int row = group()->rowCount(); row-- > 0;) {
            DisStoredAccount* const account = itemAt(row)->account;
            added.removeOne(account);
            if (!accounts.contains(account))
                group()->removeRow(row);
        }
        for (DisStoredAccount* const account : qAsConst(added))
            addItem(account);
    }

    void addItem(DisStoredAccount* account)
    {
        auto* const item = new DisAcctItem(account);
        item->setText(DisAcctsComponentImpl::disAcctName(*account)); // for screen readers
        group()->appendRow(item);
        auto const changed = [this, account] {
            for (int row = 0; row < group()->rowCount(); ++row)
                if (itemAt(row)->account == account)
                    itemAt(row)->visualsChanged();
        };
        connect(account, &DisStoredAccount::connectionStateChanged, this, changed);
        connect(account, &DisStoredAccount::authTokenStateChanged, this, changed);
        connect(account, &DisStoredAccount::userInfoChangedBySession, this, changed);
        connect(account, &DisStoredAccount::autoConnectChanged, this, changed);
    }
};

} // namespace

NakAcct::AcctsModelComponent* DisAcctsModelComponent_new(QObject* parent)
{
    return new DisAcctsModelComponent(parent);
}

namespace DisAcctsComponentImpl {

Decoration connStateDecorations(DisSessionStateType state)
{
    switch (state) {
    case DisSessionStateType::Disconnected:
        return { QObject::tr("Offline"), false };
    case DisSessionStateType::Connected:
        return { QObject::tr("Online"), false };
    default:
        return {};
    }
}

Decoration tokenStateDeocrations(TokenState state, bool tellAccepted)
{
    switch (state) {
    case TokenState::None:
        return { QObject::tr("No token"), true };
    case TokenState::Unverified:
        return { QObject::tr("Token not yet tested"), false };
    case TokenState::Accepted:
        return tellAccepted ? Decoration{ QObject::tr("Token accepted"), false } : Decoration{};
    case TokenState::Rejected:
        return { QObject::tr("Token was rejected"), true };
    }
    return {};
}

QString disAcctName(DisStoredAccount const& account)
{
    return account.userName.isEmpty() ? QObject::tr("Unidentified Account") : account.userName;
}

QString tokenFromInput(QString const& input)
{
    return QString(input).remove(QLatin1Char('"')).trimmed();
}

} // namespace DisAcctsComponentImpl
