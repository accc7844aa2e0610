// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ask_user.h"

#include <QMessageBox>
#include <QPushButton>

namespace {

QMessageBox* makeBox(QMessageBox::Icon icon, QString const& title, QString const& text,
                     QMessageBox::StandardButton button, QWidget* parent)
{
    auto* const box = new QMessageBox(icon, title, text, button, parent);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    return box;
}

} // namespace

void NakAsk::ask(QWidget* parent, NakQuestion const& question, std::function<void()> const& onYes)
{
    auto* const box =
        makeBox(QMessageBox::Question, question.title, question.text, QMessageBox::Cancel, parent);
    QPushButton* const yes = box->addButton(question.confirm, QMessageBox::AcceptRole);
    box->setDefaultButton(QMessageBox::Cancel);
    QObject::connect(yes, &QPushButton::clicked, parent, onYes);
    box->open();
}

void NakAsk::tellProblem(QWidget* parent, QString const& title, QString const& text)
{
    makeBox(QMessageBox::Warning, title, text, QMessageBox::Ok, parent)->open();
}
