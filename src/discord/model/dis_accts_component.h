// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Discord's part of the accounts view: the rows of the stored accounts and what can be done with
// them. User-interface thread; needs g_disManager and g_disAvatarImages.

#include "acct_items.h"
#include "dis_manager.h"

#include <QPointer>

// Belongs to parent.
NakAcct::AcctsModelComponent* DisAcctsModelComponent_new(QObject* parent);

namespace DisAcctsComponentImpl {

// What a state is shown as. Without a text there is nothing to show.
struct Decoration {
    QString text;
    bool isProblem = false;
};
Decoration connStateDecorations(DisSessionStateType state);
// Spelled so from its first day; others look for it by this name.
// An accepted token is the usual case, so it is told of only when asked for.
Decoration tokenStateDeocrations(DisStoredAccount::AuthTokenState state, bool tellAccepted);

QString disAcctName(DisStoredAccount const& account);

// The token in what was pasted: without blanks around it and without any double quote.
QString tokenFromInput(QString const& input);

// Asks for a token in a modal dialog over parent; accepted tells the manager. account: whose token
// is changed, or null for a new account.
void startTokenDialog(DisStoredAccount* account, QWidget* parent);

// The details of one account, kept up to date.
QWidget* createDetailWidget(DisStoredAccount* account, QWidget* parent);

} // namespace DisAcctsComponentImpl
