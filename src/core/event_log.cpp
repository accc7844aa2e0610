// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log.h"

namespace {

struct Names {
    QString const none = QStringLiteral("None");
    QString const application = QStringLiteral("Application");
    QString const networking = QStringLiteral("Networking");
    QString const images = QStringLiteral("Images");
    QString const audio = QStringLiteral("Audio");
    QString const multiple = QStringLiteral("Multiple");
    QString const unknown = QStringLiteral("Unknown");
    QString const severities[5] = {
        QStringLiteral("Debug"), QStringLiteral("Info"),     QStringLiteral("Warn"),
        QStringLiteral("Error"), QStringLiteral("Critical"),
    };
};

Names const& names()
{
    static Names const table;
    return table;
}

} // namespace

QString EvLog::toString(Category category)
{
    switch (category) {
    case Category::None:
        return names().none;
    case Category::Application:
        return names().application;
    case Category::Networking:
        return names().networking;
    case Category::Images:
        return names().images;
    case Category::Audio:
        return names().audio;
    }
    return static_cast<quint32>(category) < 16 ? names().multiple : names().unknown;
}

QString EvLog::toString(Severity severity)
{
    auto const number = static_cast<qint32>(severity);
    return number >= 0 && number < 5 ? names().severities[number] : names().unknown;
}
