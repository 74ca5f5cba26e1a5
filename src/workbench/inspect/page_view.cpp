#include "workbench/inspect/page_view.hpp"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QWheelEvent>
#include <algorithm>
#include <cstdlib>

#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

// A page, with the blanks around it.
constexpr int kColumns = 79;
constexpr int kLines = 36;
constexpr int kWheelStep = 120;

}  // namespace

QFont PageFont(int points) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace);
    font.setPointSize(points);
    return font;
}

PageView::PageView(const char* name, QWidget* owner) : QPlainTextEdit(owner) {
    setObjectName(QLatin1String(name));
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setUndoRedoEnabled(false);
    setTabChangesFocus(true);
}

void PageView::setPoints(int points) {
    const QFont font = PageFont(points);
    setFont(font);
    document()->setDefaultFont(font);
    updateGeometry();
}

void PageView::showLines(const std::vector<std::string>& lines, std::uint64_t offset,
                         unsigned base) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    if (!text.empty())
        text.pop_back();
    columns_ = ColumnsAt(offset, base);
    setUpdatesEnabled(false);
    setExtraSelections({});
    setPlainText(ToQString(text));
    verticalScrollBar()->setValue(0);
    horizontalScrollBar()->setValue(0);
    setUpdatesEnabled(true);
    wheel_ = 0;
}

QTextCursor PageView::cursorAt(std::size_t byte, std::size_t column, int columns) const {
    const QTextBlock line = document()->findBlockByNumber(static_cast<int>(LineOfByte(byte)));
    if (!line.isValid() || static_cast<int>(column) + columns > line.length())
        return {};
    QTextCursor cursor(line);
    cursor.setPosition(line.position() + static_cast<int>(column));
    cursor.setPosition(cursor.position() + columns, QTextCursor::KeepAnchor);
    return cursor;
}

void PageView::mark(std::size_t first, std::size_t count) {
    QList<QTextEdit::ExtraSelection> marked;
    QTextCharFormat look;
    look.setBackground(palette().color(QPalette::Highlight));
    look.setForeground(palette().color(QPalette::HighlightedText));
    const std::size_t end = std::min<std::size_t>(first + count, kSectorBytes);
    for (std::size_t byte = first; byte < end;) {
        // The bytes of a line that stand beside each other are one piece.
        const std::size_t at = byte % kLineBytes;
        const std::size_t half = at < kLineBytes / 2 ? kLineBytes / 2 : kLineBytes;
        const std::size_t pieceEnd = std::min(end, byte - at + half);
        const auto bytes = static_cast<int>(pieceEnd - byte);
        marked.append({cursorAt(byte, columns_.hexOf(at), 3 * bytes - 1), look});
        marked.append({cursorAt(byte, columns_.characterOf(at), bytes), look});
        byte = pieceEnd;
    }
    setExtraSelections(marked);
    if (!marked.isEmpty() && !marked.first().cursor.isNull()) {
        QTextCursor there = marked.first().cursor;
        there.setPosition(there.selectionStart());
        setTextCursor(there);
        ensureCursorVisible();
    }
}

void PageView::selectCharacters(std::size_t first, std::size_t count) {
    const std::size_t at = first % kLineBytes;
    const auto bytes = static_cast<int>(std::min(count, kLineBytes - at));
    const QTextCursor cursor = cursorAt(first, columns_.characterOf(at), bytes);
    if (cursor.isNull())
        return;
    setTextCursor(cursor);
    ensureCursorVisible();
}

void PageView::copyAll() {
    selectAll();
    copy();
    QTextCursor cursor = textCursor();
    cursor.clearSelection();
    cursor.movePosition(QTextCursor::Start);
    setTextCursor(cursor);
}

QSize PageView::sizeHint() const {
    const QFontMetrics metrics(font());
    const int frame = 2 * (frameWidth() + static_cast<int>(document()->documentMargin()));
    return {kColumns * metrics.horizontalAdvance(u'0') + frame +
                verticalScrollBar()->sizeHint().width(),
            kLines * metrics.lineSpacing() + frame};
}

bool PageView::isAtEdge(bool upper) const {
    const QScrollBar& bar = *verticalScrollBar();
    return upper ? bar.value() <= bar.minimum() : bar.value() >= bar.maximum();
}

std::optional<PageView::Turn> PageView::turnOf(const QKeyEvent& key) const {
    if (!turn_ || (key.modifiers() & ~Qt::KeypadModifier) != 0)
        return std::nullopt;
    switch (key.key()) {
        case Qt::Key_PageUp:
            return Turn::Previous;
        case Qt::Key_PageDown:
            return Turn::Next;
        case Qt::Key_Home:
            return Turn::First;
        case Qt::Key_End:
            return Turn::Last;
        case Qt::Key_Up:
            return isAtEdge(true) ? std::optional(Turn::Previous) : std::nullopt;
        case Qt::Key_Down:
            return isAtEdge(false) ? std::optional(Turn::Next) : std::nullopt;
        default:
            return std::nullopt;
    }
}

bool PageView::event(QEvent* event) {
    // The dialog's own key copies the page; what a person has selected is theirs to copy.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        event->setAccepted(textCursor().hasSelection());
        return true;
    }
    return QPlainTextEdit::event(event);
}

void PageView::keyPressEvent(QKeyEvent* event) {
    if (const std::optional<Turn> turn = turnOf(*event)) {
        turn_(*turn);
        event->accept();
        return;
    }
    if (turn_ && event->modifiers() == Qt::NoModifier &&
        (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)) {
        verticalScrollBar()->triggerAction(event->key() == Qt::Key_Up
                                               ? QAbstractSlider::SliderSingleStepSub
                                               : QAbstractSlider::SliderSingleStepAdd);
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

// At an edge of the page a whole step of the wheel turns it.
void PageView::wheelEvent(QWheelEvent* event) {
    const int delta = event->angleDelta().y();
    if (!turn_ || event->modifiers() != Qt::NoModifier || delta == 0 || !isAtEdge(delta > 0)) {
        wheel_ = 0;
        QPlainTextEdit::wheelEvent(event);
        return;
    }
    event->accept();
    wheel_ += delta;
    if (std::abs(wheel_) < kWheelStep)
        return;
    wheel_ = 0;
    turn_(delta > 0 ? Turn::Previous : Turn::Next);
}

}  // namespace vellmark
