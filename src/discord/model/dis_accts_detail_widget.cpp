// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_account_change_token_dialog.h"
#include "dis_accts_component.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

namespace DisAcctsComponentImpl {

namespace {

using TokenState = DisStoredAccount::AuthTokenState;

class DisAcctsDetailWidget : public QWidget {
public:
    DisAcctsDetailWidget(DisStoredAccount* account, QWidget* parent)
        : QWidget(parent)
        , m_account(account)
        , m_autoConnect(new QCheckBox(QObject::tr("Auto-co&nnect")))
    {
        createRows();
        auto const refresh = [this] { updateRows(); };
        connect(account, &DisStoredAccount::authTokenStateChanged, this, refresh);
        connect(account, &DisStoredAccount::connectionStateChanged, this, refresh);
        connect(account, &DisStoredAccount::userInfoChangedBySession, this, refresh);
        connect(account, &DisStoredAccount::autoConnectChanged, this, refresh);
        updateRows();
    }

private:
    static QLabel* newText()
    {
        auto* const label = new QLabel;
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setWordWrap(true);
        return label;
    }

    QLabel* addRow(QFormLayout* form, QString const& name)
    {
        auto* const value = newText();
        form->addRow(name, value);
        return value;
    }

    void createRows()
    {
        auto* const form = new QFormLayout(this);
        form->setContentsMargins(0, 0, 0, 0);
        m_userName = addRow(form, QObject::tr("User Name"));
        m_discriminator = addRow(form, QObject::tr("Discriminator"));
        m_connection = addRow(form, QObject::tr("Connection"));
        m_tokenState = addRow(form, QObject::tr("Token State"));
        // On a row of its own, since beside a name a wrapped text gets the height of a narrow one.
        m_advice = newText();
        form->addRow(m_advice);
        auto* const changeToken = new QPushButton(QObject::tr("&Change Token"));
        changeToken->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        form->addRow(QString(), m_autoConnect);
        form->addRow(QString(), changeToken);
        connect(m_autoConnect, &QCheckBox::clicked, this, [this](bool on) {
            if (m_account)
                g_disManager->setAutoConnectForAccount(m_account, on);
        });
        connect(changeToken, &QPushButton::clicked, this, [this] {
            if (m_account)
                startTokenDialog(m_account, this);
        });
    }

    void updateRows()
    {
        if (!m_account)
            return;
        auto const known = [](QString const& text) {
            return text.isEmpty() ? QObject::tr("[Unknown]") : text;
        };
        m_userName->setText(known(m_account->userName));
        m_discriminator->setText(known(m_account->discriminator));
        QString const connection = connStateDecorations(m_account->connectionState).text;
        m_connection->setText(connection.isEmpty() ? QObject::tr("Connecting") : connection);
        m_tokenState->setText(tokenStateDeocrations(m_account->authTokenState, true).text);
        bool const rejected = m_account->authTokenState == TokenState::Rejected;
        m_advice->setVisible(rejected);
        m_advice->setText(QObject::tr(
            "Discord did not accept this token. It may be incomplete, or have ended with "
            "a change of password. Get a new one and press Change Token."));
        m_autoConnect->setChecked(m_account->autoConnect);
    }

    QPointer<DisStoredAccount> m_account;
    QLabel* m_userName = nullptr;
    QLabel* m_discriminator = nullptr;
    QLabel* m_connection = nullptr;
    QLabel* m_tokenState = nullptr;
    QLabel* m_advice = nullptr;
    QCheckBox* m_autoConnect;
};

bool isInUse(QString const& token)
{
    QVector<DisStoredAccount*> const accounts = g_disManager->accounts();
    return std::any_of(accounts.cbegin(), accounts.cend(),
                       [&token](auto const* account) { return account->authToken == token; });
}

// The first account is why the program was started: it connects now and from now on. With another
// one connected, the user chooses.
void addAccount(QString const& token)
{
    DisStoredAccount* const account = g_disManager->createAccountWithToken(token);
    if (!account || g_disManager->accounts().size() > 1)
        return;
    g_disManager->setAutoConnectForAccount(account, true);
    g_disManager->connectWithAccount(account);
}

void changeToken(DisStoredAccount* account, QString const& token)
{
    account->authToken = token;
    account->authTokenState = TokenState::Unverified;
    emit account->authTokenStateChanged();
    g_disManager->saveAccountToDisk(account);
    if (account->autoConnect)
        g_disManager->connectWithAccount(account);
}

void acceptToken(QPointer<DisStoredAccount> const& account, bool isNew, QString const& token,
                 QWidget* parent)
{
    if (isInUse(token))
        QMessageBox::warning(parent, QObject::tr("Token already in use"),
                             QObject::tr("This token is already in use by another account."));
    else if (isNew)
        addAccount(token);
    else if (account)
        changeToken(account, token);
}

} // namespace

void startTokenDialog(DisStoredAccount* account, QWidget* parent)
{
    QString const title =
        account ? QObject::tr("Change Token") : QObject::tr("Add Discord Account");
    QString const accept = account ? QObject::tr("Change Token") : QObject::tr("Add Account");
    auto* const dialog = new DisAccountChangeTokenDialog(title, accept, parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setModal(true);
    QPointer<DisStoredAccount> const guarded(account);
    QObject::connect(dialog, &QDialog::accepted, parent,
                     [=] { acceptToken(guarded, !account, dialog->token(), parent); });
    dialog->show();
}

QWidget* createDetailWidget(DisStoredAccount* account, QWidget* parent)
{
    return new DisAcctsDetailWidget(account, parent);
}

} // namespace DisAcctsComponentImpl
