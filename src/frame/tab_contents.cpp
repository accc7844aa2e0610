// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tab_contents.h"

#include <array>
#include <utility>

namespace {

// One slot per NakNav::Type.
std::array<NakTabContents::Factory, 4>& factories()
{
    static std::array<NakTabContents::Factory, 4> table;
    return table;
}

} // namespace

void NakTabContents::registerFactory(NakNav::Type type, Factory factory)
{
    factories().at(static_cast<std::size_t>(type)) = std::move(factory);
}

QWidget* NakTabContents::create(NakNavLoc const& place, QWidget* parent)
{
    Factory const& factory = factories().at(static_cast<std::size_t>(place.type()));
    return factory ? factory(place, parent) : nullptr;
}
