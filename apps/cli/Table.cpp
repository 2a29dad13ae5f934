#include "Table.h"

#include "Text.h"

#include <algorithm>
#include <numeric>

namespace cli {

namespace {
constexpr std::string_view gap = "  ";
constexpr std::size_t narrowestColumn = 8;
}  // namespace

Table::Table(std::vector<Column> tableColumns) : columns_(std::move(tableColumns)) {}

void Table::add(const std::vector<std::string>& row) {
    auto& added = rows_.emplace_back();
    for (const auto& cell : row) added.push_back(printable(cell));
}

std::string Table::text(PageWidth page) const {
    const auto lengths = widths(page);
    Row titles;
    for (const auto& column : columns_) titles.push_back(column.title);
    std::string result;
    const auto append = [&](const Row& row) {
        auto written = line(row, lengths);
        result += page ? fitted(written, *page) : std::move(written);
        result += '\n';
    };
    append(titles);
    for (const auto& row : rows_) append(row);
    return result;
}

std::vector<std::size_t> Table::widths(PageWidth page) const {
    std::vector<std::size_t> lengths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        lengths.push_back(columns(columns_[i].title));
        for (const auto& row : rows_) lengths[i] = std::max(lengths[i], columns(row[i]));
    }
    if (!page) return lengths;
    auto total = std::accumulate(lengths.begin(), lengths.end(), gap.size() * (lengths.size() - 1));
    while (total > *page) {  // the widest prose gives way, a column at a time
        std::size_t* widest = nullptr;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (columns_[i].cells == Cells::prose && lengths[i] > narrowestColumn &&
                (!widest || lengths[i] > *widest)) {
                widest = &lengths[i];
            }
        }
        if (!widest) break;
        --*widest;
        --total;
    }
    return lengths;
}

std::string Table::line(const Row& row, const std::vector<std::size_t>& lengths) const {
    std::string result;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const auto cell = fitted(row[i], lengths[i]);
        const std::string padding(lengths[i] - columns(cell), ' ');
        if (i > 0) result += gap;
        result += columns_[i].cells == Cells::numbers ? padding + cell : cell + padding;
    }
    result.erase(result.find_last_not_of(' ') + 1);
    return result;
}

}  // namespace cli
