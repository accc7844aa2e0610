// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_status_line.h"

#include "dis_admin_words.h"
#include "plain_text.h"

DisStatusLine::DisStatusLine(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setFocusPolicy(Qt::NoFocus);
}

DisStatusLine::~DisStatusLine() = default;

void DisStatusLine::say(QString const& text)
{
    setText(NakPlainText::titleLine(text));
}

bool DisStatusLine::sayResult(DisRequest const& request, QString const& done)
{
    QString const problem = DisAdminWords::problem(request);
    say(problem.isEmpty() ? done : problem);
    return problem.isEmpty();
}
