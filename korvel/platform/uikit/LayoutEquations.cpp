#include <korvel/platform/uikit/LayoutEquations.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvel::platform {

void LayoutEquations::subtract(Equation& from, const Equation& what, double times) {
    if (times == 0) return;
    for (std::size_t index = 0; index < from.factors.size(); ++index) {
        from.factors[index] -= times * what.factors[index];
    }
    from.sum -= times * what.sum;
}

void LayoutEquations::add(Equation equation) {
    constexpr double negligible = 1e-9;
    if (rows_.size() == unknowns_) return;
    for (const auto& row : rows_) subtract(equation, row.equation, equation.factors[row.pivot]);
    const auto largest =
        std::max_element(equation.factors.begin(), equation.factors.end(),
                         [](double one, double other) { return std::abs(one) < std::abs(other); });
    if (largest == equation.factors.end() || std::abs(*largest) < negligible) return;

    const auto pivot = static_cast<std::size_t>(largest - equation.factors.begin());
    const double divisor = *largest;
    for (auto& factor : equation.factors) factor /= divisor;
    equation.sum /= divisor;
    for (auto& row : rows_) subtract(row.equation, equation, row.equation.factors[pivot]);
    rows_.push_back({pivot, std::move(equation)});
}

void LayoutEquations::fix(std::size_t unknown, double value) {
    auto equation = blank(value);
    equation.factors[unknown] = 1;
    add(std::move(equation));
}

std::vector<double> LayoutEquations::solution() const {
    std::vector<double> values(unknowns_);
    for (const auto& row : rows_) values[row.pivot] = row.equation.sum;
    return values;
}

}  // namespace korvel::platform
