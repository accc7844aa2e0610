// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "text_lines.h"

#include <QImage>

namespace {

constexpr int inkContrast = 60; // difference in grey level that counts as ink
constexpr int inkPixelsPerRow = 6;

bool rowHasInk(QImage const& grey, int y, int left, int right)
{
    uchar const* line = grey.constScanLine(y);
    int const background = line[left];
    int ink = 0;
    for (int x = left; x < right; ++x)
        ink += qAbs(line[x] - background) > inkContrast ? 1 : 0;
    return ink >= inkPixelsPerRow;
}

} // namespace

int countTextLines(QImage const& picture)
{
    QImage const grey = picture.convertToFormat(QImage::Format_Grayscale8);
    int const top = grey.height() / 6;
    int const bottom = grey.height() * 5 / 6;
    int const left = grey.width() / 16;
    int const right = grey.width() * 9 / 10;
    int lines = 0;
    bool inLine = false;
    for (int y = top; y < bottom; ++y) {
        bool const ink = rowHasInk(grey, y, left, right);
        lines += ink && !inLine ? 1 : 0;
        inLine = ink;
    }
    return lines;
}
