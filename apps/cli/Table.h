#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cli {

/// Columns of a page; nothing: as wide as it takes, for files and pipes.
using PageWidth = std::optional<std::size_t>;

/// Rows under a line of titles, aligned by what a terminal shows.
class Table {
public:
    enum class Cells {
        words,    ///< on the left, whole
        prose,    ///< on the left, cut when the page is too narrow
        numbers,  ///< on the right, whole
    };
    struct Column {
        std::string title;
        Cells cells;
    };

    explicit Table(std::vector<Column> columns);

    /// As many texts as there are columns; made printable here.
    void add(const std::vector<std::string>& row);
    bool empty() const { return rows_.empty(); }
    /// Ends in a line break. No line is longer than the page.
    std::string text(PageWidth page) const;

private:
    using Row = std::vector<std::string>;
    std::vector<std::size_t> widths(PageWidth page) const;
    std::string line(const Row& row, const std::vector<std::size_t>& widths) const;

    std::vector<Column> columns_;
    std::vector<Row> rows_;
};

}  // namespace cli
