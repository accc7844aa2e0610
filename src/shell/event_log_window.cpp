// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_window.h"

#include "event_log_find.h"
#include "event_log_find_bar.h"
#include "event_log_view.h"
#include "nak_event_log.h"
#include "run_on_pool.h"
#include "settings_file.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScrollBar>
#include <QSplitter>
#include <QToolBar>
#include <QVBoxLayout>

namespace {

constexpr QSize defaultSize(860, 520);
constexpr int linesOfCurrent = 3;
constexpr int maxMarks = 100;
constexpr qint64 maxCopyBytes = 8 << 20;

QString geometryName()
{
    return QStringLiteral("event_log");
}

QLabel* plainLabel(QWidget* parent)
{
    auto* const label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QString joinedLines(std::shared_ptr<NakEvLogFile const> const& file,
                    std::vector<NakEvLogIndex::Span> const& spans, int leftOut)
{
    QByteArray text;
    NakEvLogLineReader reader(file);
    for (NakEvLogIndex::Span const& span : spans) {
        text += reader.line(span, maxCopyBytes);
        text += '\n';
    }
    if (leftOut > 0)
        text += "(" + QByteArray::number(leftOut) + " more lines are too much to copy)\n";
    return QString::fromUtf8(text);
}

} // namespace

NakEventLogWindow::NakEventLogWindow(QString const& logFileName)
    : m_source(new NakEventLogSource(logFileName, this))
    , m_view(new NakEventLogView(m_source, this))
    , m_find(new NakEventLogFind(m_source, this))
    , m_findBar(new NakEventLogFindBar(m_find, m_view, this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Event Log - Nakwire"));
    resize(defaultSize);
    makeCentralWidget();
    makeMenus();
    connect(m_source, &NakEventLogSource::rowsAdded, this, &NakEventLogWindow::updateStatus);
    connect(m_source, &NakEventLogSource::restarted, this, &NakEventLogWindow::updateStatus);
    connect(m_view->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &NakEventLogWindow::updateStatus);
    connect(m_view, &NakEventLogView::currentChanged, this, &NakEventLogWindow::showCurrent);
    connect(m_view, &NakEventLogView::selectionChanged, this,
            [this] { m_copy->setEnabled(m_view->hasSelection()); });
    connect(m_find, &NakEventLogFind::needleChanged, this, &NakEventLogWindow::markFound);
    NakSettingsFile const settings;
    if (settings.hasGeometry(geometryName()))
        restoreGeometry(settings.getGeometry(geometryName()));
    m_view->setAccessibleName(windowTitle());
    m_current->setAccessibleName(QStringLiteral("Line as a whole"));
    m_view->setFocus();
    updateStatus();
}

NakEventLogWindow::~NakEventLogWindow()
{
    // The view looks into the source while it goes.
    delete m_findBar;
    delete m_view;
}

void NakEventLogWindow::summon()
{
    static QPointer<NakEventLogWindow> window;
    if (!window)
        window = new NakEventLogWindow(NakEvLog::logFileName());
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
}

void NakEventLogWindow::makeCentralWidget()
{
    auto* const central = new QWidget(this);
    auto* const layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_current = new QPlainTextEdit;
    m_current->setReadOnly(true);
    m_current->setUndoRedoEnabled(false);
    m_current->setFrameShape(QFrame::NoFrame);
    m_current->setTabChangesFocus(true);
    m_current->setPlaceholderText(QStringLiteral("The line that you pick stands here as a whole"));
    // As the rows have it. Behind the placeholder's setting, which would not be shown else.
    m_current->document()->setDocumentMargin(fontMetrics().averageCharWidth());

    auto* const splitter = new QSplitter(Qt::Vertical, central);
    splitter->addWidget(m_view);
    splitter->addWidget(m_current);
    splitter->setStretchFactor(0, 1);
    splitter->setCollapsible(0, false);
    int const low = linesOfCurrent * fontMetrics().lineSpacing()
        + 2 * static_cast<int>(m_current->document()->documentMargin());
    splitter->setSizes({ height(), low });
    layout->addWidget(splitter, 1);
    layout->addWidget(m_findBar);

    auto* const row = new QHBoxLayout;
    row->setContentsMargins(8, 3, 8, 3);
    m_status = plainLabel(central);
    m_status->setObjectName(QStringLiteral("status"));
    m_following = plainLabel(central);
    row->addWidget(m_status, 1);
    row->addWidget(m_following);
    layout->addLayout(row);
    setCentralWidget(central);
}

void NakEventLogWindow::makeMenus()
{
    auto const add = [this](QMenu* menu, char const* text, QKeySequence const& key,
                            std::function<void()> const& effect) {
        QAction* const action = menu->addAction(QLatin1String(text));
        action->setShortcut(key);
        connect(action, &QAction::triggered, this, effect);
        return action;
    };
    QMenu* const edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    m_copy = add(edit, "&Copy", QKeySequence::Copy, [this] { copySelection(); });
    m_copy->setEnabled(false);
    QAction* const all =
        add(edit, "Select &All", QKeySequence::SelectAll, [this] { m_view->selectAllRows(); });
    edit->addSeparator();
    add(edit, "&Find…", QKeySequence::Find, [this] { m_findBar->open(); });
    add(edit, "Find &Next", QKeySequence::FindNext, [this] { m_findBar->step(true); });
    add(edit, "Find &Previous", QKeySequence::FindPrevious, [this] { m_findBar->step(false); });
    m_view->addActions({ m_copy, all });
    // In the field they are the field's own.
    for (QAction* action : { m_copy, all })
        action->setShortcutContext(Qt::WidgetShortcut);

    QMenu* const view = menuBar()->addMenu(QStringLiteral("&View"));
    auto* const bar = addToolBar(QStringLiteral("Filters"));
    bar->setMovable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    makeFilters(view, bar);
    view->addSeparator();
    add(view, "Go to &End", Qt::CTRL + Qt::Key_End, [this] { m_view->goToEnd(); });
    view->addSeparator();
    add(view, "Close &Window", Qt::CTRL + Qt::Key_W, [this] { close(); });
}

void NakEventLogWindow::makeFilters(QMenu* menu, QToolBar* bar)
{
    using NakEvLogIndex::Filter;
    for (int severity = 0; severity < 5; ++severity) {
        QAction* const action = addFilter(EvLog::toString(static_cast<EvLog::Severity>(severity)),
                                          &Filter::severities, 1U << severity);
        action->setShortcut(Qt::CTRL + Qt::Key_1 + severity);
    }
    for (quint32 bit = 1; bit < Filter::noCategory; bit <<= 1)
        addFilter(EvLog::toString(static_cast<EvLog::Category>(bit)), &Filter::categories, bit);
    addFilter(QStringLiteral("No Category"), &Filter::categories, Filter::noCategory);
    m_showAll = new QAction(QStringLiteral("Show &All"), this);
    m_showAll->setShortcut(Qt::CTRL + Qt::Key_0);
    m_showAll->setEnabled(false);
    connect(m_showAll, &QAction::triggered, this, &NakEventLogWindow::showAll);

    for (QWidget* widget : { static_cast<QWidget*>(menu), static_cast<QWidget*>(bar) }) {
        widget->addActions(m_filters);
        QAction* const line = new QAction(widget);
        line->setSeparator(true);
        widget->insertAction(m_filters.at(5), line);
    }
    menu->addSeparator();
    menu->addAction(m_showAll);
    for (QAction* action : qAsConst(m_filters))
        bar->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);
}

QAction* NakEventLogWindow::addFilter(QString const& text, quint32 NakEvLogIndex::Filter::*bits,
                                      quint32 bit)
{
    auto* const action = new QAction(text, this);
    action->setCheckable(true);
    action->setChecked(true);
    connect(action, &QAction::toggled, this,
            [this, bits, bit](bool shown) { changeFilter(bits, bit, shown); });
    m_filters.append(action);
    return action;
}

void NakEventLogWindow::changeFilter(quint32 NakEvLogIndex::Filter::*bits, quint32 bit, bool shown)
{
    m_filter.*bits = shown ? m_filter.*bits | bit : m_filter.*bits & ~bit;
    m_showAll->setEnabled(!m_filter.showsAll());
    m_view->setFilter(m_filter);
}

void NakEventLogWindow::showAll()
{
    m_filter = {};
    for (QAction* action : qAsConst(m_filters)) {
        QSignalBlocker const quiet(action);
        action->setChecked(true);
    }
    m_showAll->setEnabled(false);
    m_view->setFilter(m_filter);
}

void NakEventLogWindow::copySelection()
{
    auto spans = m_view->selectedSpans(maxCopyBytes);
    if (spans.empty())
        return;
    int const leftOut = m_view->selectedRowCount() - static_cast<int>(spans.size());
    Utils::runOnPool(
        this,
        [file = m_source->file(), spans = std::move(spans), leftOut]() -> std::function<void()> {
            return [text = joinedLines(file, spans, leftOut)] {
                QGuiApplication::clipboard()->setText(text);
            };
        });
}

void NakEventLogWindow::showCurrent()
{
    m_current->setPlainText(m_view->currentText());
    markFound();
}

// A row shows only the beginning of a long line; here what was found stands in it.
void NakEventLogWindow::markFound()
{
    QList<QTextEdit::ExtraSelection> marks;
    QTextEdit::ExtraSelection mark;
    mark.format.setBackground(m_view->rowStyle().found);
    mark.format.setForeground(m_view->rowStyle().foundText);
    QString const needle = m_find->needle();
    mark.cursor = QTextCursor(m_current->document());
    while (!needle.isEmpty() && marks.size() < maxMarks) {
        mark.cursor = m_current->document()->find(needle, mark.cursor);
        if (mark.cursor.isNull())
            break;
        marks.append(mark);
    }
    m_current->setExtraSelections(marks);
    if (marks.isEmpty())
        return;
    QTextCursor first = marks.first().cursor;
    first.clearSelection();
    m_current->setTextCursor(first); // in sight
}

void NakEventLogWindow::updateStatus()
{
    QLocale const locale;
    auto const& index = m_source->index();
    int const rows = NakEvLogIndex::rowCount(index);
    auto const lines = static_cast<int>(index.lines.size());
    QString text = m_filter.showsAll()
        ? QStringLiteral("%1 lines").arg(locale.toString(lines))
        : QStringLiteral("%1 of %2 lines").arg(locale.toString(rows), locale.toString(lines));
    if (m_source->leftOutOlderLines())
        text += QStringLiteral(", older ones are left out");
    if (!m_source->isComplete())
        text += QStringLiteral(", reading: %1 %").arg(m_source->percentRead());
    m_status->setText(text);
    m_following->setText(m_view->followsEnd() ? QStringLiteral("Follows the end")
                                              : QStringLiteral("Ctrl+End follows the end"));
}

void NakEventLogWindow::showEvent(QShowEvent* event)
{
    NakStyledWindow::showEvent(event);
    m_source->setWatching(true);
}

void NakEventLogWindow::hideEvent(QHideEvent* event)
{
    NakStyledWindow::hideEvent(event);
    m_source->setWatching(false);
}

void NakEventLogWindow::closeEvent(QCloseEvent* event)
{
    NakSettingsFile().setGeometry(geometryName(), saveGeometry());
    NakStyledWindow::closeEvent(event);
}
