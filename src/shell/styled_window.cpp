// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "styled_window.h"

#include "plain_text.h"

NakStyledWindow::NakStyledWindow(QWidget* parent)
    : QMainWindow(parent)
{
    setContextMenuPolicy(Qt::NoContextMenu);
}

NakStyledWindow::~NakStyledWindow() = default;

void NakStyledWindow::setPlainWindowTitle(QString const& text)
{
    setWindowTitle(NakPlainText::windowTitle(text));
}
