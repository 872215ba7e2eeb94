#include "RuleLogging.h"
#include "RuleManager.h"
#include "RulePrefetch.h"
#include "RuleText.h"
#include "TextRanks.h"

#include <QCollator>
#include <QLocale>
#include <QMutexLocker>
#include <algorithm>
#include <numeric>
#include <vector>

namespace {

enum class Field
{
    Path,
    ProcessName,
    ProcessShortName,
    Tag,
    Constraint,
    PolicyClass,
    PolicyType,
    Operations,
    Flags,
    Created,
    Sequence,
    System,
};

std::optional<Field> fieldForKey(const QString &key)
{
    static const QHash<QString, Field> fields{
        {QStringLiteral("path"), Field::Path},
        {QStringLiteral("processName"), Field::ProcessName},
        {QStringLiteral("processShortName"), Field::ProcessShortName},
        {QStringLiteral("tag"), Field::Tag},
        {QStringLiteral("constraint"), Field::Constraint},
        {QStringLiteral("policyClass"), Field::PolicyClass},
        {QStringLiteral("policyType"), Field::PolicyType},
        {QStringLiteral("operations"), Field::Operations},
        {QStringLiteral("flags"), Field::Flags},
        {QStringLiteral("created"), Field::Created},
        {QStringLiteral("sequence"), Field::Sequence},
        {QStringLiteral("system"), Field::System},
    };
    const auto it = fields.constFind(key);
    return it == fields.cend() ? std::nullopt : std::optional<Field>(*it);
}

QString textOf(const NVCRuleBase &rule, Field field)
{
    switch (field) {
    case Field::Path:
        return rule.path();
    case Field::ProcessName:
        return rule.processName();
    case Field::ProcessShortName:
        // The display name is filled on demand; an unfilled record sorts by the
        // name it would show.
        return rule.processShortName().isEmpty() ? rule.getProcessShortName() : rule.processShortName();
    case Field::Tag:
        return rule.tag();
    case Field::Constraint:
        return rule.constraint();
    default:
        return QString();
    }
}

qint64 numberOf(const NVCRuleBase &rule, Field field)
{
    switch (field) {
    case Field::PolicyClass:
        return rule.policyClass;
    case Field::PolicyType:
        return rule.policyType;
    case Field::Operations:
        return rule.operations;
    case Field::Flags:
        return rule.flags;
    case Field::Created:
        return rule.created;
    case Field::Sequence:
        return rule.sequence;
    case Field::System:
        return rule.system ? 1 : 0;
    default:
        return 0;
    }
}

bool isTextField(Field field)
{
    return field <= Field::Constraint;
}

// Case-insensitive, with digit runs compared by value ("file2" before "file10").
// ICU collators are costly to create, so each thread keeps one.
QCollator &localizedCollator()
{
    thread_local QCollator collator = [] {
        // The C locale collates by code point only, which would ignore both
        // options; English collation stands in for it.
        const QLocale locale = QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale();
        QCollator c(locale);
        c.setCaseSensitivity(Qt::CaseInsensitive);
        c.setNumericMode(true);
        return c;
    }();
    return collator;
}

int compareNumbers(qint64 a, qint64 b)
{
    return (a > b) - (a < b);
}

// One sort key with its values computed once per row, so comparisons during
// the sort stay cheap.
class SortColumn
{
public:
    SortColumn(const RuleSortDescriptor &descriptor, Field field, const RuleRows &rows)
        : m_ascending(descriptor.ascending)
        , m_localized(isTextField(field) &&
                      descriptor.comparison == RuleSortDescriptor::Comparison::LocalizedStandardCompare)
    {
        if (!isTextField(field)) {
            for (qsizetype i = 0; i < rows.size(); ++i)
                m_numbers.push_back(numberOf(*rows.ruleAt(i), field));
            return;
        }
        const bool folded = descriptor.comparison == RuleSortDescriptor::Comparison::CaseInsensitiveCompare;
        std::vector<QString> texts;
        texts.reserve(std::size_t(rows.size()));
        constexpr qsizetype distance = 8;
        for (qsizetype i = 0; i < rows.size(); ++i) {
            // The rows are visited in view order, not in the order their records
            // and paths lie in memory: those lines are asked for a few rows ahead.
            if (i + distance < rows.size())
                prefetchRuleData(rows.ruleAt(i + distance));
            if (field == Field::Path && i + distance / 2 < rows.size())
                prefetchRuleData(rows.ruleAt(i + distance / 2)->pathView().data());
            const QString text = textOf(*rows.ruleAt(i), field);
            if (m_localized)
                m_keys.push_back(localizedCollator().sortKey(text));
            else
                texts.push_back(folded ? RuleText::caseFolded(text) : text);
        }
        // Plain text order becomes ranks once, so that the sort compares numbers.
        if (!m_localized)
            m_numbers = denseRanks(texts);
    }

    // A text key whose dense ranks are known.
    SortColumn(const RuleSortDescriptor &descriptor, const std::vector<qint64> &ranks)
        : m_ascending(descriptor.ascending)
        , m_localized(false)
        , m_numbers(ranks)
    {}

    int compare(qsizetype a, qsizetype b) const
    {
        const int result = m_localized ? m_keys[size_t(a)].compare(m_keys[size_t(b)])
                                       : compareNumbers(m_numbers[size_t(a)], m_numbers[size_t(b)]);
        return m_ascending ? result : -result;
    }

private:
    bool m_ascending;
    bool m_localized;
    std::vector<qint64> m_numbers; // values, or the ranks of texts
    std::vector<QCollatorSortKey> m_keys;
};

int compareTexts(const QString &a, const QString &b, RuleSortDescriptor::Comparison comparison)
{
    switch (comparison) {
    case RuleSortDescriptor::Comparison::LocalizedStandardCompare:
        return localizedCollator().sortKey(a).compare(localizedCollator().sortKey(b));
    case RuleSortDescriptor::Comparison::CaseInsensitiveCompare:
        return RuleText::caseFolded(a).compare(RuleText::caseFolded(b));
    default:
        return a.compare(b);
    }
}

// Whether every tie under `now` was a tie under `before`: each earlier key
// is still sorted by, compared the same way.
bool refinesOrder(const QList<RuleSortDescriptor> &now, const QList<RuleSortDescriptor> &before)
{
    return std::all_of(before.cbegin(), before.cend(), [&now](const RuleSortDescriptor &old) {
        return !fieldForKey(old.key) ||
               std::any_of(now.cbegin(), now.cend(), [&old](const RuleSortDescriptor &descriptor) {
                   return descriptor.key == old.key && descriptor.comparison == old.comparison;
               });
    });
}

} // namespace

int RuleManager::compareBySortOrder(const NVCRuleBase &a, const NVCRuleBase &b) const
{
    if (!m_sortDescriptors)
        return 0;
    for (const RuleSortDescriptor &descriptor : *m_sortDescriptors) {
        const std::optional<Field> field = fieldForKey(descriptor.key);
        if (!field)
            continue;
        int result;
        if (!isTextField(*field)) {
            result = compareNumbers(numberOf(a, *field), numberOf(b, *field));
        } else {
            result = compareTexts(textOf(a, *field), textOf(b, *field), descriptor.comparison);
        }
        if (result)
            return descriptor.ascending ? result : -result;
    }
    return 0;
}
void RuleManager::sortIndexUsingDescriptors(const QList<RuleSortDescriptor> &descriptors)
{
    QMutexLocker locker(&m_lock);
    // Sorting the shown order keeps the earlier order among ties; that is
    // what a rebuild gives only when the new order refines the earlier one.
    m_viewsMatchRebuild =
        m_viewsMatchRebuild && (!m_sortDescriptors || refinesOrder(descriptors, *m_sortDescriptors));
    sortViews(descriptors);
    Q_EMIT viewChanged();
}

void RuleManager::sortViews(const QList<RuleSortDescriptor> &descriptors)
{
    m_sortDescriptors = descriptors;

    const auto knownRanks = [this](const RuleSortDescriptor &descriptor) -> const SortRanks * {
        for (const SortRanks &known : m_sortRanks) {
            if (known.key == descriptor.key && known.comparison == descriptor.comparison)
                return &known;
        }
        return nullptr;
    };
    std::vector<SortColumn> columns;
    const RuleSortDescriptor *first = nullptr;
    bool firstNeedsRanks = false;
    for (const RuleSortDescriptor &descriptor : descriptors) {
        const std::optional<Field> field = fieldForKey(descriptor.key);
        if (!field) {
            qCWarning(lcRuleManagement).noquote()
                << QStringLiteral("Ignoring sort by unknown rule property %1").arg(descriptor.key);
            continue;
        }
        const SortRanks *known = isTextField(*field) ? knownRanks(descriptor) : nullptr;
        if (!first) {
            first = &descriptor;
            firstNeedsRanks = isTextField(*field) && !known;
        }
        if (known)
            columns.emplace_back(descriptor, known->ranks);
        else
            columns.emplace_back(descriptor, *field, m_views.rows(true));
    }
    if (columns.empty())
        return;

    std::vector<qsizetype> order(size_t(m_views.size(true)));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&columns](qsizetype a, qsizetype b) {
        for (const SortColumn &column : columns) {
            if (const int result = column.compare(a, b))
                return result < 0;
        }
        return false;
    });

    // Known ranks follow their rows; the first key's ranks come free from
    // the sorted order, counting the places where its value changes.
    for (SortRanks &known : m_sortRanks) {
        std::vector<qint64> moved(order.size());
        for (std::size_t at = 0; at < order.size(); ++at)
            moved[at] = known.ranks[std::size_t(order[at])];
        known.ranks = std::move(moved);
    }
    if (firstNeedsRanks) {
        std::vector<qint64> ranks(order.size());
        qint64 rank = 0;
        for (std::size_t at = 1; at < order.size(); ++at) {
            rank += columns.front().compare(order[at - 1], order[at]) != 0;
            ranks[at] = rank;
        }
        if (!first->ascending) {
            for (qint64 &value : ranks)
                value = rank - value;
        }
        m_sortRanks.push_back(SortRanks{first->key, first->comparison, std::move(ranks)});
    }

    m_views.reorder(order);
}

void RuleManager::sortRanksGainedRow(qsizetype row)
{
    // Only the first sort key's ranks can follow: the view is in its order, so
    // the new row's neighbours place it.
    const RuleSortDescriptor *first = nullptr;
    if (m_sortDescriptors) {
        for (const RuleSortDescriptor &descriptor : *m_sortDescriptors) {
            if (fieldForKey(descriptor.key)) {
                first = &descriptor;
                break;
            }
        }
    }
    std::vector<SortRanks> kept;
    for (SortRanks &known : m_sortRanks) {
        if (!first || known.key != first->key || known.comparison != first->comparison)
            continue;
        const Field field = *fieldForKey(known.key);
        const QString text = textOf(*m_views.ruleAt(row, true), field);
        std::vector<qint64> &ranks = known.ranks; // still without the new row
        const auto sameAs = [&](qsizetype at) {
            return compareTexts(textOf(*m_views.ruleAt(at, true), field), text, known.comparison) == 0;
        };
        const bool hasBefore = row > 0;
        const bool hasAfter = std::size_t(row) < ranks.size();
        qint64 rank;
        if (hasBefore && sameAs(row - 1)) {
            rank = ranks[std::size_t(row - 1)];
        } else if (hasAfter && sameAs(row + 1)) {
            rank = ranks[std::size_t(row)];
        } else {
            // A text of its own: ranks from its place up make room for it.
            const bool hasLower = first->ascending ? hasBefore : hasAfter;
            rank = hasLower ? ranks[std::size_t(first->ascending ? row - 1 : row)] + 1 : 0;
            for (qint64 &value : ranks) {
                if (value >= rank)
                    ++value;
            }
        }
        ranks.insert(ranks.begin() + row, rank);
        kept.push_back(std::move(known));
    }
    m_sortRanks = std::move(kept);
}

void RuleManager::sortRanksLostRows(const std::vector<qsizetype> &rows)
{
    // Ranks with a gap still order the rest.
    for (SortRanks &known : m_sortRanks) {
        for (auto row = rows.crbegin(); row != rows.crend(); ++row)
            known.ranks.erase(known.ranks.begin() + *row);
    }
}
