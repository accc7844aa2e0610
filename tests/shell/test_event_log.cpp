// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "event_log_view.h"
#include "event_log_window.h"
#include "nak_event_log.h"
#include "shell_fixture.h"
#include "wait_until.h"
#include "widget_acts.h"

#include <QAction>
#include <QBuffer>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTemporaryDir>

using EvLog::Category;
using EvLog::Severity;

namespace {

QByteArray lineOf(Severity severity, Category category, QByteArray const& text)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(EvLogData::writeEvent(&buffer, 0, category, severity, text.constData(),
                                      static_cast<unsigned long>(text.size())));
    return buffer.data();
}

QByteArray numbered(int from, int to)
{
    QByteArray text;
    for (int i = from; i < to; ++i)
        text += lineOf(Severity::Info, Category::Networking, "line " + QByteArray::number(i));
    return text;
}

// --- the index ---

TEST(EventLogIndex, LinesAreFoundHoweverTheFileIsCutIntoPieces)
{
    QByteArray const file = lineOf(Severity::Warn, Category::Audio, "one\ntwo\n\nthree")
        + lineOf(Severity::Debug, Category::None, "four") + "not yet whole";
    for (int piece = file.size(); piece > 60; --piece) {
        NakEvLogIndex::Index index;
        for (bool more = true; more;) {
            QByteArray const bytes = file.mid(static_cast<int>(index.end), piece);
            auto const scan = NakEvLogIndex::scanLines(
                bytes.constData(), bytes.size(), index.end,
                index.lines.empty() ? NakEvLogIndex::lineWithoutSeverity() : index.lines.back());
            more = !scan.lines.empty();
            appendScan(&index, scan);
        }
        std::string found;
        for (size_t i = 0; i < index.lines.size(); ++i) {
            auto const span = NakEvLogIndex::spanOfLine(index, static_cast<int>(i));
            QByteArray const line =
                file.mid(static_cast<int>(span.offset), static_cast<int>(span.length));
            found += std::to_string(index.lines[i].severity) + '/'
                + std::to_string(index.lines[i].categories) + ' '
                + line.split('\t').last().toStdString() + ';';
        }
        EXPECT_EQ(found, "2/8 one;2/8 two;2/8 ;2/8 three;0/0 four;") << piece;
    }
    QByteArray const endless(static_cast<int>(NakEvLogIndex::maxLineBytes) + 5, 'x');
    auto const scan = NakEvLogIndex::scanLines(endless.constData(), endless.size(), 0,
                                               NakEvLogIndex::lineWithoutSeverity());
    EXPECT_EQ(scan.lines.size(), 1U);
    EXPECT_EQ(scan.end, NakEvLogIndex::maxLineBytes);
}

// --- the window ---

class EventLog : public ShellTest {
protected:
    QString path() const { return m_directory.filePath(QStringLiteral("log")); }
    void write(QByteArray const& bytes, QIODevice::OpenMode mode = QIODevice::Append)
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | mode));
        file.write(bytes);
    }
    // With that in the file, all of which is listed.
    void openWith(QByteArray const& bytes, char const* wanted)
    {
        write(bytes);
        open();
        ASSERT_TRUE(waitForStatus(wanted));
    }
    void open()
    {
        m_window.reset(new NakEventLogWindow(path()));
        m_window->resize(640, 420);
        m_window->show();
        m_window->activateWindow();
        m_view = m_window->findChild<NakEventLogView*>();
    }
    std::string label(char const* name) const
    {
        return m_window->findChild<QLabel*>(QLatin1String(name))->text().toStdString();
    }
    bool waitFor(char const* name, char const* text)
    {
        return waitUntil([&] { return label(name) == text; });
    }
    bool waitForStatus(char const* text) { return waitFor("status", text); }
    QAction* action(char const* text) const { return findByText<QAction>(m_window.data(), text); }
    // What of each line follows its last tab.
    std::string copied()
    {
        QGuiApplication::clipboard()->clear();
        m_view->setFocus();
        pressKeys(m_view, "Ctrl+C");
        EXPECT_TRUE(waitUntil([] { return !QGuiApplication::clipboard()->text().isEmpty(); }));
        QStringList messages;
        auto const lines = QGuiApplication::clipboard()->text().split(QLatin1Char('\n'));
        for (QString const& line : lines)
            messages.append(line.mid(line.lastIndexOf(QLatin1Char('\t')) + 1));
        return messages.join(QLatin1Char(' ')).trimmed().toStdString();
    }

    QTemporaryDir m_directory;
    QScopedPointer<NakEventLogWindow> m_window;
    NakEventLogView* m_view = nullptr;
};

TEST_F(EventLog, FollowsTheEndUntilTheUserScrollsUp)
{
    openWith(numbered(0, 500), "500 lines");
    QScrollBar* const bar = m_view->verticalScrollBar();
    EXPECT_EQ(bar->value(), bar->maximum());
    write(numbered(500, 600));
    ASSERT_TRUE(waitForStatus("600 lines"));
    EXPECT_EQ(bar->value(), bar->maximum());
    EXPECT_EQ(m_view->rectForRow(599).bottom() + 1, m_view->viewport()->height());
    bar->setValue(100);
    write(numbered(600, 700));
    ASSERT_TRUE(waitForStatus("700 lines"));
    EXPECT_EQ(bar->value(), 100);
    pressKeys(m_window.data(), "Ctrl+End");
    EXPECT_EQ(bar->value(), bar->maximum());
}

TEST_F(EventLog, FiltersByLevelAndCategoryAndKeepsMessagesWhole)
{
    openWith(lineOf(Severity::Info, Category::Networking, "a")
                 + lineOf(Severity::Warn, Category::Images, "b\nc")
                 + lineOf(Severity::Error, Category::None, "d")
                 + lineOf(Severity::Info, static_cast<Category>(9), "e"),
             "5 lines");
    struct {
        char const* toggled;
        char const* shown;
        char const* status;
    } const steps[] = {
        { "Info", "b c d", "3 of 5 lines" },    { "Warn", "d", "1 of 5 lines" },
        { "Error", "", "0 of 5 lines" },        { "Info", "a e", "2 of 5 lines" },
        { "Audio", "a e", "2 of 5 lines" },     { "Application", "a", "1 of 5 lines" },
        { "Show All", "a b c d e", "5 lines" }, { "No Category", "a b c e", "4 of 5 lines" },
    };
    for (auto const& s : steps) {
        action(s.toggled)->trigger();
        EXPECT_EQ(label("status"), s.status) << s.toggled;
        m_view->setFocus();
        pressKeys(m_view, "Ctrl+A");
        EXPECT_EQ(*s.shown ? copied() : std::string(), s.shown) << s.toggled;
    }
    write(lineOf(Severity::Warn, Category::None, "f")
          + lineOf(Severity::Warn, Category::Audio, "g"));
    EXPECT_TRUE(waitForStatus("5 of 7 lines"));
}

TEST_F(EventLog, ANewFilterStaysAtTheLine)
{
    openWith(numbered(0, 300) + lineOf(Severity::Warn, Category::Audio, "here")
                 + numbered(300, 600),
             "601 lines");
    m_view->setCurrentRow(300);
    EXPECT_NE(m_view->currentText().indexOf(QLatin1String("here")), -1);
    action("Info")->trigger();
    EXPECT_EQ(m_view->currentRow(), 0);
    action("Info")->trigger();
    EXPECT_EQ(m_view->currentRow(), 300);
    EXPECT_TRUE(m_view->viewport()->rect().contains(m_view->rectForRow(300)));
}

TEST_F(EventLog, FindsOnwardAndBackAndInWhatComes)
{
    openWith(numbered(0, 40) + lineOf(Severity::Info, Category::None, "Größe LINE 7")
                 + numbered(41, 50),
             "50 lines");
    pressKeys(m_view, "Ctrl+F");
    auto* const field = m_window->findChild<QLineEdit*>();
    ASSERT_TRUE(field->isVisible());
    m_view->setCurrentRow(0);
    field->setText(QStringLiteral("line 7"));
    ASSERT_TRUE(waitFor("found", "1 of 2"));
    struct {
        char const* keys;
        int row;
        char const* found;
    } const steps[] = {
        { "Return", 40, "2 of 2" },
        { "Return", 7, "1 of 2" },
        { "Shift+Return", 40, "2 of 2" },
        { "Shift+Return", 7, "1 of 2" },
    };
    for (auto const& s : steps) {
        pressKeys(field, s.keys);
        EXPECT_EQ(m_view->currentRow(), s.row);
        EXPECT_EQ(label("found"), s.found);
        EXPECT_EQ(m_window->findChild<QPlainTextEdit*>()->extraSelections().size(), 1);
    }
    write(lineOf(Severity::Info, Category::None, "line 7 once more"));
    EXPECT_TRUE(waitFor("found", "1 of 3"));
    field->setText(QStringLiteral("GRÖSSE"));
    EXPECT_TRUE(waitFor("found", "Not found"));
    field->setText(QStringLiteral("GRÖßE"));
    EXPECT_TRUE(waitFor("found", "1 of 1"));
    action("Info")->trigger(); // no line is left
    EXPECT_TRUE(waitFor("found", "Not found"));
    pressKeys(field, "Esc");
    EXPECT_FALSE(field->isVisible());
}

TEST_F(EventLog, CopiesWhatIsSelected)
{
    openWith(numbered(0, 8), "8 lines");
    struct {
        int row;
        Qt::KeyboardModifiers modifiers;
        char const* copied;
    } const clicks[] = {
        { 2, Qt::NoModifier, "line 2" },
        { 4, Qt::ShiftModifier, "line 2 line 3 line 4" },
        { 3, Qt::ControlModifier, "line 2 line 4" },
        { 6, Qt::ControlModifier, "line 2 line 4 line 6" },
        { 7, Qt::ControlModifier, "line 2 line 4 line 6 line 7" },
        { 3, Qt::ControlModifier, "line 2 line 3 line 4 line 6 line 7" },
        { 0, Qt::NoModifier, "line 0" },
    };
    for (auto const& c : clicks) {
        QTest::mouseClick(m_view->viewport(), Qt::LeftButton, c.modifiers,
                          m_view->rectForRow(c.row).center());
        EXPECT_EQ(copied(), c.copied);
    }
    QTest::mousePress(m_view->viewport(), Qt::LeftButton, {}, m_view->rectForRow(1).center());
    QMouseEvent drag(QEvent::MouseMove, m_view->rectForRow(3).center(), Qt::NoButton,
                     Qt::LeftButton, {});
    QCoreApplication::sendEvent(m_view->viewport(), &drag);
    EXPECT_EQ(copied(), "line 1 line 2 line 3");
    write((QByteArray(200'000, 'x') + '\n').repeated(50)); // 10 MB
    ASSERT_TRUE(waitForStatus("58 lines"));
    pressKeys(m_view, "Ctrl+A");
    EXPECT_NE(copied().find("(8 more lines are too much to copy)"), std::string::npos);
    EXPECT_NE(
        m_window->findChild<QPlainTextEdit*>()->toPlainText().indexOf(QLatin1String("line 3")), -1);
}

TEST_F(EventLog, TakesWhateverBecomesOfTheFile)
{
    open();
    EXPECT_EQ(label("status"), "0 lines");
    write({});
    write(numbered(0, 5)); // it came later
    ASSERT_TRUE(waitForStatus("5 lines"));
    write(numbered(0, 2), QIODevice::Truncate);
    ASSERT_TRUE(waitForStatus("2 lines"));
    m_view->setCurrentRow(1);
    QFile::remove(path());
    write(numbered(0, 3)); // another one in its place
    ASSERT_TRUE(waitForStatus("3 lines"));
    EXPECT_EQ(m_view->currentRow(), -1);
    QFile::remove(path());
    m_view->setCurrentRow(2); // what was removed can still be read
    EXPECT_TRUE(m_view->currentText().endsWith(QLatin1String("line 2")));
    write(numbered(0, 1) + QByteArray(700000, 'x') + '\n' + QByteArray("\xff\xfe\0\x1b[31m\n", 9)
          + numbered(1, 2));
    EXPECT_TRUE(waitForStatus("6 lines")); // one of them in three
}

} // namespace
