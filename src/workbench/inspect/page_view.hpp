// A page of bytes as text that can be selected, with bytes of it marked.
#pragma once

#include <QPlainTextEdit>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "inspect/fork_page.hpp"

namespace vellmark {

/// A font of which all characters are as wide, in points.
[[nodiscard]] QFont PageFont(int points);

class PageView final : public QPlainTextEdit {
  public:
    /// Where a key or the wheel leads when the page itself has nothing more there.
    enum class Turn { Previous, Next, First, Last };

    PageView(const char* name, QWidget* owner);

    /// Called for keys and the wheel; without it they move within the text alone.
    void setTurn(std::function<void(Turn turn)> turn) { turn_ = std::move(turn); }
    void setPoints(int points);

    /// Shows lines of `DumpLines` for bytes that begin at that offset, from their top.
    void showLines(const std::vector<std::string>& lines, std::uint64_t offset, unsigned base);
    /// Marks bytes, counted from the first one shown, as digits and as characters; none for a count
    /// of 0. They come into sight.
    void mark(std::size_t first, std::size_t count);
    /// Selects the characters of bytes, as far as they stand in the line of the first.
    void selectCharacters(std::size_t first, std::size_t count);
    /// Copies all of it.
    void copyAll();

    [[nodiscard]] QSize sizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    [[nodiscard]] std::optional<Turn> turnOf(const QKeyEvent& key) const;
    [[nodiscard]] bool isAtEdge(bool upper) const;
    [[nodiscard]] QTextCursor cursorAt(std::size_t byte, std::size_t column, int columns) const;

    std::function<void(Turn turn)> turn_;
    LineColumns columns_;
    int wheel_ = 0;  // eighths of a degree that have not led to a page yet
};

}  // namespace vellmark
