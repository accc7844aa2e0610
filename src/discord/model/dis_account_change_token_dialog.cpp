// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_account_change_token_dialog.h"

#include "dis_accts_component.h"
#include "gui_icons.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace DisAcctsComponentImpl {

namespace {

constexpr ushort eyeGlyph = 61550;
constexpr int tokenWidth = 46; // characters; longer ones scroll
constexpr int maxTokenLength = 4096;

// A token is a password: others may look at the screen, so it is shown only when asked for.
void addShowAction(QLineEdit* edit)
{
    edit->setEchoMode(QLineEdit::Password);
    if (!g_guiIcons)
        return;
    QAction* const show =
        edit->addAction(g_guiIcons->iconForCode(QChar(eyeGlyph)), QLineEdit::TrailingPosition);
    show->setCheckable(true);
    show->setToolTip(QObject::tr("Show the token"));
    QObject::connect(show, &QAction::toggled, edit, [edit](bool shown) {
        edit->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password);
    });
}

} // namespace

DisAccountChangeTokenDialog::DisAccountChangeTokenDialog(QString const& title,
                                                         QString const& acceptText, QWidget* parent)
    : QDialog(parent)
    , m_token(new QLineEdit)
    , m_clearClipboard(new QCheckBox(tr("&Remove token from clipboard when finished")))
{
    setWindowTitle(title);
    auto* const label = new QLabel(tr("Account &Token"));
    label->setBuddy(m_token);
    m_token->setPlaceholderText(QStringLiteral("a1b2c3..."));
    m_token->setMaxLength(maxTokenLength);
    m_token->setMinimumWidth(fontMetrics().averageCharWidth() * tokenWidth);
    addShowAction(m_token);
    auto* const hint = new QLabel(tr("The token can be pasted with or without quotes."));
    hint->setForegroundRole(QPalette::PlaceholderText);
    auto* const getIt = new QPushButton(tr("&Get My Discord Token"));
    getIt->setAutoDefault(false);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    m_accept = buttons->button(QDialogButtonBox::Ok);
    m_accept->setText(acceptText);
    m_accept->setEnabled(false);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_token);
    layout->addWidget(hint);
    layout->addWidget(getIt, 0, Qt::AlignLeft);
    layout->addWidget(m_clearClipboard);
    layout->addStretch();
    layout->addWidget(buttons);

    connect(m_token, &QLineEdit::textChanged, this,
            [this] { m_accept->setEnabled(!token().isEmpty()); });
    connect(getIt, &QPushButton::clicked, this, &DisAccountChangeTokenDialog::showHowToGetIt);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

DisAccountChangeTokenDialog::~DisAccountChangeTokenDialog() = default;

QString DisAccountChangeTokenDialog::token() const
{
    return tokenFromInput(m_token->text());
}

void DisAccountChangeTokenDialog::done(int result)
{
    QClipboard* const clipboard = QApplication::clipboard();
    // Not what the user has copied since.
    if (m_clearClipboard->isChecked() && !token().isEmpty()
        && tokenFromInput(clipboard->text()) == token())
        clipboard->clear();
    QDialog::done(result);
}

void DisAccountChangeTokenDialog::showHowToGetIt()
{
    QMessageBox box(
        QMessageBox::NoIcon, tr("Get My Discord Token"),
        tr("1. Sign in to Discord in a web browser.\n"
           "2. Open the browser's developer tools (Ctrl+Shift+I) and its Network tab.\n"
           "3. Click any channel, then any request to \u201cmessages\u201d in the list.\n"
           "4. Copy the value of \u201cauthorization\u201d from the request's headers.\n\n"
           "Whoever has this token can use your account: give it to nobody."),
        QMessageBox::Ok, this);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace DisAcctsComponentImpl
