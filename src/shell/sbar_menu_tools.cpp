// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_menu_tools.h"

#include "plain_text.h"

#include <QInputDialog>
#include <QMenu>

namespace {

constexpr int maxFolderNameLength = 100;
constexpr int maxMenuNameWidth = 220; // pixels; a menu is as wide as its widest text

} // namespace

QAction* NakSbar::addMenuAction(QMenu* menu, char const* pattern, QString const& name,
                                std::function<void()> const& effect)
{
    QString text = QString::fromUtf8(pattern);
    if (text.contains(QLatin1String("%1")))
        text = text.arg(NakPlainText::withoutMnemonics(menu->fontMetrics().elidedText(
            NakPlainText::titleLine(name), Qt::ElideRight, maxMenuNameWidth)));
    QAction* const action = menu->addAction(text);
    QObject::connect(action, &QAction::triggered, menu->parent(), effect);
    return action;
}

QString NakSbar::folderNameOf(QString const& text)
{
    return text.trimmed().left(maxFolderNameLength);
}

void NakSbar::askFolderName(QWidget* parent, QString const& title, QString const& preset,
                            std::function<void(QString const& name)> const& onName)
{
    auto* const dialog = new QInputDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(title);
    dialog->setLabelText(QStringLiteral("New folder name:"));
    dialog->setTextValue(preset);
    QObject::connect(dialog, &QInputDialog::textValueSelected, parent,
                     [onName, preset](QString const& text) {
                         QString const name = folderNameOf(text);
                         onName(name.isEmpty() ? preset : name);
                     });
    dialog->open();
}
