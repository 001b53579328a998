// The profile list's preferred size: a fixed height and the width of its widest name.
#include "launcher.h"

#include <QFontMetricsF>
#include <QHash>
#include <QScrollBar>
#include <QStyleOptionSlider>

#include <algorithm>
#include <array>
#include <functional>
#include <queue>
#include <vector>

namespace {

// Up to this many names the width is measured name by name, as Qt does; beyond, the names
// that look widest by their letters' advances are measured, which costs far less than laying
// out thousands.
constexpr int kMeasuredNames = 1000;
constexpr int kWidestCandidates = 64;

// A name's width as the sum of its letters' advances, each measured once: it leaves out only
// kerning. In 1/64 pixels, as Qt keeps advances: whole numbers add up faster.
class AdvanceSum
{
public:
    explicit AdvanceSum(const QFont& font) : m_metrics(font) { m_latin1.fill(-1); }

    int operator()(const QString& name)
    {
        int width = 0;
        for (const QChar c : name) {
            const int known = c.unicode() < m_latin1.size() ? m_latin1[c.unicode()]
                                                            : m_others.value(c.unicode(), -1);
            width += known >= 0 ? known : Measure(c);
        }
        return width;
    }

private:
    int Measure(QChar c)
    {
        const int advance = qRound(m_metrics.horizontalAdvance(c) * 64);
        if (c.unicode() < m_latin1.size())
            m_latin1[c.unicode()] = advance;
        else
            m_others.insert(c.unicode(), advance);
        return advance;
    }

    QFontMetricsF m_metrics;
    std::array<int, 256> m_latin1;
    QHash<char16_t, int> m_others;
};

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
    AdvanceSum advanceSum(font());
    // The widest-looking names so far, the narrowest of them on top.
    using Estimate = std::pair<int, int>; // width, row
    std::priority_queue<Estimate, std::vector<Estimate>, std::greater<>> widest;
    const int rows = count();
    for (int row = 0; row < rows; ++row) {
        const int width = advanceSum(item(row)->text());
        if (int(widest.size()) < kWidestCandidates) {
            widest.push({width, row});
        } else if (width > widest.top().first) {
            widest.pop();
            widest.push({width, row});
        }
    }
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    int width = 0;
    for (; !widest.empty(); widest.pop()) {
        const QModelIndex index = model()->index(widest.top().second, 0);
        width = std::max(width, itemDelegateForIndex(index)->sizeHint(option, index).width());
    }
    m_namesWidth = width;
    return width;
}
