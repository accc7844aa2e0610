// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tab_layout.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr int maxTabs = 1000;

using PlaceLoader = NakNavLoc (*)(QJsonValue const&);

PlaceLoader loaderOfVersion(int version)
{
    switch (version) {
    case 1:
        return NakNav::loadFromJson_tabs_legacy_v1;
    case 2:
        return NakNav::loadFromJson;
    default:
        return nullptr;
    }
}

} // namespace

QString NakTabLayout::encode(Layout const& layout)
{
    QJsonArray tabs;
    for (NakNavLoc const& place : layout.places)
        tabs.append(NakNav::saveToJson(place));
    QJsonObject document{ { QLatin1String("version"), 2 }, { QLatin1String("tabs"), tabs } };
    if (layout.foreground >= 0)
        document.insert(QLatin1String("foreground_index"), layout.foreground);
    return QString::fromUtf8(QJsonDocument(document).toJson(QJsonDocument::Compact));
}

NakTabLayout::Layout NakTabLayout::parse(QString const& text)
{
    QJsonObject const document = QJsonDocument::fromJson(text.toUtf8()).object();
    PlaceLoader const load = loaderOfVersion(document.value(QLatin1String("version")).toInt());
    if (!load)
        return {};
    Layout layout;
    QJsonArray const tabs = document.value(QLatin1String("tabs")).toArray();
    for (int i = 0; i < tabs.size() && i < maxTabs; ++i)
        layout.places.append(load(tabs.at(i)));
    layout.foreground = document.value(QLatin1String("foreground_index")).toInt(-1);
    return layout;
}
