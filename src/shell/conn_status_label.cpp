// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "conn_status_label.h"

namespace {

QString statusText(NakGenericConnStatus status)
{
    switch (status) {
    case NakGenericConnStatus::None:
        break;
    case NakGenericConnStatus::Disconnected:
        return QStringLiteral("Disconnected");
    case NakGenericConnStatus::Connecting:
        return QStringLiteral("Connecting…");
    case NakGenericConnStatus::Connected:
        return QStringLiteral("Connected");
    case NakGenericConnStatus::Reconnecting:
        return QStringLiteral("Reconnecting…");
    case NakGenericConnStatus::Disconnecting:
        return QStringLiteral("Disconnecting…");
    }
    return {};
}

} // namespace

NakConnStatusLabel::NakConnStatusLabel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    showStatus(g_globalEvents->lastConnStatus());
    connect(g_globalEvents, &NakGlobalEvents::connStatusChanged, this,
            &NakConnStatusLabel::showStatus);
}

void NakConnStatusLabel::showStatus(NakGenericConnStatus status)
{
    setText(statusText(status));
}
