// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_invite_dialog.h"

#include "dis_admin_words.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_request.h"
#include "dis_status_line.h"
#include "plain_text.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int validities[] = { 1'800, 3'600, 21'600, 43'200, 86'400, 0 }; // seconds; 0: no end
constexpr int usualValidity = 86'400;
constexpr int linkWidth = 36; // characters

} // namespace

DisInviteDialog::DisInviteDialog(FlakeId user, FlakeId channel, QWidget* parent)
    : QDialog(parent)
    , m_user(user)
    , m_channel(channel)
    , m_validity(new QComboBox)
    , m_link(new QLineEdit)
    , m_copy(new QPushButton(tr("Cop&y")))
    , m_create(new QPushButton(tr("Create &Link")))
    , m_status(new DisStatusLine)
{
    setAttribute(Qt::WA_DeleteOnClose);
    QString const name = DisCache::guildChannelDisplayName(channel);
    setWindowTitle(NakPlainText::windowTitle(tr("Invite to %1").arg(name)));
    for (int const seconds : validities)
        m_validity->addItem(DisAdminWords::validity(seconds), seconds);
    m_validity->setCurrentIndex(m_validity->findData(usualValidity));
    m_link->setReadOnly(true);
    m_link->setMinimumWidth(fontMetrics().averageCharWidth() * linkWidth);
    m_link->setPlaceholderText(tr("No link yet"));
    m_copy->setEnabled(false);
    makeRows();
    m_create->setDefault(true);
    m_create->setFocus();
    connect(m_create, &QPushButton::clicked, this, &DisInviteDialog::create);
    connect(m_copy, &QPushButton::clicked, this, &DisInviteDialog::copy);
}

DisInviteDialog::~DisInviteDialog() = default;

void DisInviteDialog::makeRows()
{
    QString const guild = DisCache::guildName(DisCache::guildIdOfChannel(m_channel));
    auto* const what =
        new QLabel(tr("Whoever has the link can join %1.").arg(NakPlainText::titleLine(guild)));
    what->setTextFormat(Qt::PlainText);
    what->setWordWrap(true);
    auto* const linkRow = new QHBoxLayout;
    linkRow->addWidget(m_link, 1);
    linkRow->addWidget(m_copy);
    auto* const form = new QFormLayout;
    form->addRow(tr("&Valid for"), m_validity);
    form->addRow(tr("Lin&k"), linkRow);
    static_cast<QLabel*>(form->labelForField(linkRow))->setBuddy(m_link);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->addButton(m_create, QDialogButtonBox::ActionRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(what);
    layout->addLayout(form);
    layout->addWidget(m_status);
    layout->addStretch();
    layout->addWidget(buttons);
}

void DisInviteDialog::create()
{
    m_create->setEnabled(false);
    m_status->say(tr("Asking Discord for a link\u2026"));
    auto* const op = g_disClient->createGuildChannelInvite(
        m_user, m_channel, QString(), m_validity->currentData().toString(), this);
    connect(op, &DisRequest::finished, this, [this, op] { receive(op); });
}

void DisInviteDialog::receive(DisDreadFetchOp* op)
{
    op->deleteLater();
    m_create->setEnabled(true);
    QString const code = op->fetchedData() ? readInviteInfo(*op->fetchedData()).code : QString();
    if (!m_status->sayResult(*op, QString())) {
        m_create->setFocus();
        return;
    }
    if (code.isEmpty()) {
        m_status->say(tr("Discord gave no link."));
        return;
    }
    m_link->setText(DisAdminWords::inviteLink(code));
    m_link->selectAll();
    m_link->setFocus();
    m_copy->setEnabled(true);
    m_copy->setDefault(true);
}

void DisInviteDialog::copy()
{
    QApplication::clipboard()->setText(m_link->text());
    m_status->say(tr("The link is in the clipboard."));
}
