// The profile list's preferred size: a fixed height and the width of its widest name.
#include "launcher.h"

#include <QFontMetricsF>
#include <QHash>
#include <QScrollBar>
#include <QStyleOptionSlider>

#include <algorithm>
#include <array>
#include <functional>

namespace {

// Up to this many names the width is measured name by name, as Qt does; beyond, the names
// that look widest by their letters' advances are measured, which costs far less than laying
// out thousands.
constexpr int kMeasuredNames = 1000;
constexpr int kWidestCandidates = 64;

} // namespace

ProfileQListWidget::ProfileQListWidget()
{
    // Every row is one line of text: laid out once, not name by name.
    setUniformItemSizes(true);
    const auto changed = [this] { m_namesWidth = -1; };
    connect(model(), &QAbstractItemModel::rowsInserted, this, changed);
    connect(model(), &QAbstractItemModel::rowsRemoved, this, changed);
    connect(model(), &QAbstractItemModel::dataChanged, this, changed);
    connect(model(), &QAbstractItemModel::modelReset, this, changed);
}

// The list's own destruction empties its model, which must no longer reach this part of it.
ProfileQListWidget::~ProfileQListWidget()
{
    disconnect(model(), nullptr, this, nullptr);
}

QSize ProfileQListWidget::sizeHint() const
{
    const QStyleOptionSlider option;
    const int scrollBarExtent = verticalScrollBar()->style()->pixelMetric(
        QStyle::PM_ScrollBarExtent, &option, verticalScrollBar());
    return QSize(NamesWidth() + scrollBarExtent + 5, 192);
}

int ProfileQListWidget::NamesWidth() const
{
    if (m_namesWidth >= 0)
        return m_namesWidth;
    if (count() <= kMeasuredNames) {
        m_namesWidth = sizeHintForColumn(0);
        return m_namesWidth;
    }
    // Each letter's advance once, Latin-1 in a table; a name's sum leaves out only kerning.
    const QFontMetricsF metrics(font());
    std::array<qreal, 256> latin1;
    latin1.fill(-1);
    QHash<char16_t, qreal> others;
    const auto advance = [&](QChar c) {
        if (c.unicode() < latin1.size()) {
            qreal& known = latin1[c.unicode()];
            if (known < 0)
                known = metrics.horizontalAdvance(c);
            return known;
        }
        auto it = others.constFind(c.unicode());
        if (it == others.cend())
            it = others.insert(c.unicode(), metrics.horizontalAdvance(c));
        return *it;
    };
    QList<std::pair<qreal, int>> estimates;
    estimates.reserve(count());
    for (int row = 0; row < count(); ++row) {
        qreal width = 0;
        for (const QChar c : item(row)->text())
            width += advance(c);
        estimates.append({width, row});
    }
    const int candidates = std::min<int>(kWidestCandidates, estimates.size());
    std::partial_sort(estimates.begin(), estimates.begin() + candidates, estimates.end(),
                      std::greater<>());
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    int width = 0;
    for (int i = 0; i < candidates; ++i) {
        const QModelIndex index = model()->index(estimates[i].second, 0);
        width = std::max(width, itemDelegateForIndex(index)->sizeHint(option, index).width());
    }
    m_namesWidth = width;
    return width;
}
