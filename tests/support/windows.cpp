// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "windows.h"

#include "wait_until.h"

#include <QProcess>

namespace Windows {

QString xdo(QStringList const& arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    waitUntil([&process] { return process.state() == QProcess::NotRunning; });
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

QStringList of(qint64 process, QString const& name)
{
    QStringList search{ QStringLiteral("search"), QStringLiteral("--all"),
                        QStringLiteral("--onlyvisible"), QStringLiteral("--pid"),
                        QString::number(process) };
    if (!name.isEmpty())
        search << QStringLiteral("--name") << name;
    return xdo(search).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString waitFor(qint64 process, QString const& name)
{
    QString window;
    waitUntil([&] {
        window = of(process, QLatin1Char('^') + name + QLatin1Char('$')).value(0);
        return !window.isEmpty();
    });
    return window;
}

QString nameOf(QString const& window)
{
    return xdo({ QStringLiteral("getwindowname"), window });
}

QSize sizeOf(QString const& window)
{
    QString const told = xdo({ QStringLiteral("getwindowgeometry"), window });
    QStringList const sides = told.section(QStringLiteral("Geometry: "), 1).split(QLatin1Char('x'));
    return sides.size() == 2 ? QSize(sides[0].toInt(), sides[1].toInt()) : QSize();
}

void resize(QString const& window, QSize const& size)
{
    xdo({ QStringLiteral("windowsize"), QStringLiteral("--sync"), window,
          QString::number(size.width()), QString::number(size.height()) });
}

void pressKeys(QString const& window, QString const& keys)
{
    xdo(QStringList{ QStringLiteral("windowfocus"), QStringLiteral("--sync"), window,
                     QStringLiteral("key") }
        + keys.split(QLatin1Char(' ')));
}

void click(QString const& window, QPoint const& at, int button)
{
    xdo({ QStringLiteral("mousemove"), QStringLiteral("--window"), window, QString::number(at.x()),
          QString::number(at.y()), QStringLiteral("click"), QString::number(button) });
}

} // namespace Windows
