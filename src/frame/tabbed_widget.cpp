// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tabbed_widget.h"

INakTabbedWidget::~INakTabbedWidget() = default;
