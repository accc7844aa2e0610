// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_dialog.h"

#include "app_updates.h"
#include "data_paths.h"
#include "nak_open_url.h"
#include "settings_model.h"
#include "settings_proxy.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDir>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

constexpr QSize defaultSize(620, 560);
constexpr int buttonMargin = 8;

QPointer<NakSettingsDialog>& theDialog()
{
    static QPointer<NakSettingsDialog> dialog;
    return dialog;
}

enum Page { General, Discord, FontsAndColors, AudioAndVoice, Experimental };
constexpr char const* pageTitles[] = {
    QT_TRANSLATE_NOOP("NakSettingsDialog", "General"),
    QT_TRANSLATE_NOOP("NakSettingsDialog", "Discord"),
    QT_TRANSLATE_NOOP("NakSettingsDialog", "Fonts && Colors"),
    QT_TRANSLATE_NOOP("NakSettingsDialog", "Audio && Voice"),
    QT_TRANSLATE_NOOP("NakSettingsDialog", "Experimental"),
};

QString dataPath()
{
    return QDir::toNativeSeparators(NakDataPaths::appDataPathCreated());
}

QVector<NakSettingsRows::Group> generalRows()
{
    auto groups = NakSettingsRows::general();
    for (auto& group : groups) {
        for (auto& row : group.rows) {
            NakSettingsRows::Field const updates = &NakPreferences::automaticCheckUpdates;
            if (row.field == updates && NakAppUpdates::isForcefullyDisabled)
                row.help =
                    QT_TRANSLATE_NOOP("NakSettingsForm", "* Currently disabled by environment");
        }
    }
    return groups;
}

} // namespace

NakSettingsDialog::NakSettingsDialog()
    : m_model(new NakSettingsModel(this))
    , m_pages(new QTabWidget(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Preferences - Nakwire"));
    resize(defaultSize);
    makeMenu();
    for (char const* title : pageTitles) {
        auto* const area = new QScrollArea;
        area->setWidgetResizable(true);
        area->setFrameShape(QFrame::NoFrame);
        m_pages->addTab(area, tr(title));
    }
    auto* const central = new QWidget(this);
    auto* const layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_pages, 1);
    auto* const line = new QFrame(central);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);
    layout->addWidget(makeButtons());
    setCentralWidget(central);
    connect(m_pages, &QTabWidget::currentChanged, this, &NakSettingsDialog::buildPage);
    buildPage(m_pages->currentIndex());
    m_pages->setFocus();
}

// The end of the program deletes the window without closing it.
NakSettingsDialog::~NakSettingsDialog()
{
    saveOnce();
}

void NakSettingsDialog::summonSettingsDialog()
{
    if (!theDialog())
        theDialog() = new NakSettingsDialog;
    NakSettingsDialog* const dialog = theDialog();
    dialog->setWindowState(dialog->windowState() & ~Qt::WindowMinimized);
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

void NakSettingsDialog::closeSettingsDialog()
{
    if (theDialog())
        theDialog()->close();
}

void NakSettingsDialog::closeEvent(QCloseEvent* event)
{
    saveOnce();
    theDialog().clear(); // the next summons makes a new one, though this one is not deleted yet
    NakStyledWindow::closeEvent(event);
}

void NakSettingsDialog::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Cancel))
        cancel();
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        accept();
    else
        NakStyledWindow::keyPressEvent(event);
}

// --- parts ---

void NakSettingsDialog::makeMenu()
{
    QMenu* const file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("Open Settings && Data Path"), this, &NakSettingsDialog::openDataPath);
    file->addAction(tr("Copy Settings && Data Path to Clipboard"), this,
                    [] { QApplication::clipboard()->setText(dataPath()); });
    file->addSeparator();
    QAction* const close = file->addAction(tr("Close Window"), this, &QWidget::close);
    close->setShortcuts(
        { QKeySequence(QStringLiteral("Ctrl+W")), QKeySequence(QStringLiteral("Ctrl+Shift+W")) });
}

QDialogButtonBox* NakSettingsDialog::makeButtons()
{
    auto* const box = new QDialogButtonBox(this);
    box->setContentsMargins(buttonMargin, buttonMargin, buttonMargin, buttonMargin);
    QPushButton* const reset = box->addButton(tr("Reset Pa&ge"), QDialogButtonBox::ResetRole);
    QPushButton* const ok = box->addButton(QDialogButtonBox::Ok);
    QPushButton* const cancelButton = box->addButton(QDialogButtonBox::Cancel);
    QPushButton* const applyButton = box->addButton(QDialogButtonBox::Apply);
    reset->setToolTip(tr("Set everything on this page back to its default"));
    cancelButton->setToolTip(tr("Take back everything since this window was opened"));
    ok->setDefault(true);
    // The button that has the focus takes Return; else it would confirm, on Cancel too.
    for (QPushButton* button : { reset, ok, cancelButton, applyButton })
        button->setAutoDefault(true);
    connect(ok, &QPushButton::clicked, this, &NakSettingsDialog::accept);
    connect(applyButton, &QPushButton::clicked, this, &NakSettingsDialog::apply);
    connect(cancelButton, &QPushButton::clicked, this, &NakSettingsDialog::cancel);
    connect(reset, &QPushButton::clicked, this, &NakSettingsDialog::resetPage);
    return box;
}

void NakSettingsDialog::buildPage(int index)
{
    auto* const area = qobject_cast<QScrollArea*>(m_pages->widget(index));
    if (area && !area->widget())
        area->setWidget(newPage(index));
}

NakSettingsForm* NakSettingsDialog::newPage(int index)
{
    switch (index) {
    case Discord:
        return new NakSettingsForm(m_model, NakSettingsRows::discord(), this);
    case FontsAndColors:
        return new NakSettingsForm(m_model, NakSettingsRows::fontsAndColors(), this);
    case AudioAndVoice:
        return new NakSettingsForm(m_model, NakSettingsRows::audioAndVoice(), this);
    case Experimental:
        m_proxy = new NakSettingsProxyPage(m_model, this);
        return m_proxy;
    default:
        return new NakSettingsForm(m_model, generalRows(), this);
    }
}

// --- what the buttons and the menu do ---

void NakSettingsDialog::apply()
{
    if (m_proxy)
        m_proxy->save();
    m_model->apply();
}

void NakSettingsDialog::accept()
{
    apply();
    m_isDone = true;
    close();
}

void NakSettingsDialog::cancel()
{
    m_model->revert();
    m_isDone = true;
    close();
}

void NakSettingsDialog::resetPage()
{
    auto* const area = qobject_cast<QScrollArea*>(m_pages->currentWidget());
    if (auto* const page = qobject_cast<NakSettingsForm*>(area->widget()))
        page->resetToDefaults();
}

void NakSettingsDialog::saveOnce()
{
    if (!m_isDone && g_preferences)
        g_preferences->saveToSettingsFile();
    m_isDone = true;
}

void NakSettingsDialog::openDataPath()
{
    if (NakOpenUrl::openOwnFolder(dataPath()))
        return;
    auto* const box = new QMessageBox(
        QMessageBox::Information, windowTitle(),
        tr("No program is known that shows folders. This is where they are:\n\n%1").arg(dataPath()),
        QMessageBox::Ok, this);
    box->setTextFormat(Qt::PlainText);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}
