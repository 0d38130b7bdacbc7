#include "QuilloryCore/Editing/LineAlignment.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <memory>

namespace Quillory::LineAlignment {

namespace {

// The table is filled from the ends of both lists: row p covers the last p old lines, and bit t
// of a row covers the last t + 1 new lines. A row is stored as Hyyro's bit vector V: bit t is 0
// exactly when the common subsequence length grows by one from t to t + 1 new lines, so the
// length for the last p old lines and the last q new lines is the number of 0 bits below q.
// Bits past the new line count stay 1.
using Word = std::uint64_t;
constexpr std::size_t wordBits = 64;
constexpr Word allOnes = ~Word { 0 };

Word bitsBelow(std::size_t bit)
{
    return bit % wordBits ? allOnes >> (wordBits - bit % wordBits) : 0;
}

// For each old line, the bits of the new lines equal to it. A line found often in the new list
// keeps a whole bit vector; the rest keep their positions, which costs less than a row of words
// that are almost all 0.
class MatchRows {
public:
    MatchRows(std::span<const std::uint32_t> oldIDs, std::span<const std::uint32_t> newIDs, std::uint32_t idCount, std::size_t wordCount)
        : m_wordCount(wordCount)
        , m_starts(std::size_t { idCount } + 1, 0)
        , m_positions(newIDs.size())
        , m_denseIndex(idCount, noDenseRow)
    {
        auto newCount = newIDs.size();
        for (auto id : newIDs)
            ++m_starts[id + 1];
        for (std::size_t id = 0; id < idCount; ++id)
            m_starts[id + 1] += m_starts[id];
        std::vector<std::uint32_t> next(m_starts.begin(), m_starts.end() - 1);
        for (std::size_t bit = 0; bit < newCount; ++bit)
            m_positions[next[newIDs[newCount - 1 - bit]]++] = static_cast<std::uint32_t>(bit);

        // At most about 2 x 64 lines pass this threshold, so the whole vectors stay as small as a
        // few rows.
        auto denseThreshold = std::max<std::size_t>(8, wordCount / 2);
        for (auto id : oldIDs) {
            if (m_denseIndex[id] != noDenseRow || m_starts[id + 1] - m_starts[id] < denseThreshold)
                continue;
            m_denseIndex[id] = static_cast<std::uint32_t>(m_denseWords.size() / wordCount);
            m_denseWords.resize(m_denseWords.size() + wordCount, 0);
            auto* row = &m_denseWords[m_denseWords.size() - wordCount];
            for (auto index = m_starts[id]; index < m_starts[id + 1]; ++index)
                row[m_positions[index] / wordBits] |= Word { 1 } << (m_positions[index] % wordBits);
        }
    }

    // The whole match vector of `id` when it keeps one, else nothing.
    const Word* denseRow(std::uint32_t id) const
    {
        return m_denseIndex[id] == noDenseRow ? nullptr : &m_denseWords[std::size_t { m_denseIndex[id] } * m_wordCount];
    }

    // The first and one past the last word of the row of `id` that hold a match.
    std::pair<std::size_t, std::size_t> wordSpan(std::uint32_t id) const
    {
        if (m_starts[id] == m_starts[id + 1])
            return { 0, 0 };
        return { m_positions[m_starts[id]] / wordBits, m_positions[m_starts[id + 1] - 1] / wordBits + 1 };
    }

    // Calls visit(word index, match bits) for each word of the row of `id` that holds a match,
    // in ascending order, from the stored positions.
    template<class Visit>
    void forEachMatchWord(std::uint32_t id, Visit&& visit) const
    {
        auto begin = m_starts[id];
        auto end = m_starts[id + 1];
        if (begin == end)
            return;
        std::size_t word = m_positions[begin] / wordBits;
        Word bits = 0;
        for (auto index = begin; index < end; ++index) {
            std::size_t position = m_positions[index];
            if (position / wordBits != word) {
                visit(word, bits);
                word = position / wordBits;
                bits = 0;
            }
            bits |= Word { 1 } << (position % wordBits);
        }
        visit(word, bits);
    }

private:
    static constexpr std::uint32_t noDenseRow = ~std::uint32_t { 0 };

    std::size_t m_wordCount;
    std::vector<std::uint32_t> m_starts;
    std::vector<std::uint32_t> m_positions;
    std::vector<std::uint32_t> m_denseIndex;
    std::vector<Word> m_denseWords;
};

struct Change {
    std::uint32_t word;
    Word before;
};

// The words that the rows of one block changed, each with its value in the row before, so that
// the walk can step back from a row to the one before it. A row changes each word at most once,
// so a block never needs more than rows x words entries; pages of the buffer that a block
// doesn't reach are never touched.
struct ChangeLog {
    std::unique_ptr<Change[]> changes;
    std::size_t size { 0 };
    std::vector<std::size_t> rowStarts;
};

// One row of the table. Every word at or past `onesFrom` is all ones, so a carry that reaches
// it passes through to the end without changing anything.
struct Row {
    std::vector<Word> words;
    std::size_t onesFrom { 0 };
};

// One word of Hyyro's step V' = (V + (V & M)) | (V & ~M), with the carry between words.
inline Word stepWord(Word value, Word matchBits, Word& carry)
{
    Word sum;
    Word carryOut = __builtin_add_overflow(value, value & matchBits, &sum);
    carryOut |= __builtin_add_overflow(sum, carry, &sum);
    carry = carryOut;
    return sum | (value & ~matchBits);
}

// Turns row p - 1 into row p, touching only the words with matches and the words a carry reaches.
// With logging, every changed word is recorded.
template<bool logging>
void advance(Row& row, const MatchRows& matches, std::uint32_t oldID, ChangeLog& log)
{
    Word* words = row.words.data();
    Word carry = 0;
    std::size_t next = 0;
    auto store = [&](std::size_t word, Word before, Word after) {
        if (after == before)
            return;
        if constexpr (logging)
            log.changes[log.size++] = { static_cast<std::uint32_t>(word), before };
        words[word] = after;
        if (after != allOnes && word >= row.onesFrom)
            row.onesFrom = word + 1;
    };
    // Without matches a carry sets the lowest 0 bit of a word and stops there; words of ones
    // only pass it on.
    auto carryUpTo = [&](std::size_t end) {
        for (; carry && next < end; ++next) {
            Word value = words[next];
            if (value != allOnes) {
                store(next, value, value | (value + 1));
                carry = 0;
            }
        }
    };
    if (const Word* matchRow = matches.denseRow(oldID)) {
        // The hot loop of lines that repeat often: no branch per word, the log entry is written
        // always and kept only when the word changed.
        auto [first, end] = matches.wordSpan(oldID);
        Change* change = logging ? log.changes.get() + log.size : nullptr;
        for (auto word = first; word < end; ++word) {
            Word value = words[word];
            Word after = stepWord(value, matchRow[word], carry);
            if constexpr (logging) {
                *change = { static_cast<std::uint32_t>(word), value };
                change += after != value;
            }
            words[word] = after;
        }
        if constexpr (logging)
            log.size = static_cast<std::size_t>(change - log.changes.get());
        for (auto word = end; word > row.onesFrom; --word) {
            if (words[word - 1] != allOnes) {
                row.onesFrom = word;
                break;
            }
        }
        next = end;
    } else {
        matches.forEachMatchWord(oldID, [&](std::size_t word, Word matchBits) {
            carryUpTo(word);
            Word value = words[word];
            store(word, value, stepWord(value, matchBits, carry));
            next = word + 1;
        });
    }
    carryUpTo(row.onesFrom);
}

class CheckpointedTable {
public:
    CheckpointedTable(std::span<const std::uint32_t> oldIDs, std::span<const std::uint32_t> newIDs, std::uint32_t idCount)
        : m_oldIDs(oldIDs)
        , m_newIDs(newIDs)
        , m_wordCount((newIDs.size() + wordBits - 1) / wordBits)
        , m_rowsPerBlock(std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(oldIDs.size()))))))
        , m_matches(oldIDs, newIDs, idCount, m_wordCount)
    {
        m_log.changes.reset(new Change[m_rowsPerBlock * m_wordCount]);
        auto oldCount = oldIDs.size();
        Row row { std::vector<Word>(m_wordCount, allOnes), 0 };
        for (std::size_t p = 1; p <= oldCount; ++p) {
            if ((p - 1) % m_rowsPerBlock == 0) {
                m_checkpoints.insert(m_checkpoints.end(), row.words.begin(), row.words.end());
                m_checkpointOnesFrom.push_back(row.onesFrom);
            }
            advance<false>(row, m_matches, oldIDs[oldCount - p], m_log);
        }
    }

    std::vector<Step> walk()
    {
        auto oldCount = m_oldIDs.size();
        auto newCount = m_newIDs.size();
        std::vector<Step> steps;
        steps.reserve(oldCount + newCount);

        // At row p, `m_current` is row p and `m_previous` row p - 1; `difference` is how much
        // longer the subsequence is with one more old line, over the last q new lines: 0 means
        // that deleting the old line keeps it longest.
        std::size_t p = oldCount;
        std::size_t q = newCount;
        m_current = refillBlock((p - 1) / m_rowsPerBlock);
        m_previous = m_current;
        undoRow(m_previous.words, p);
        int difference = rowDifference(p, q);
        while (p > 0 && q > 0) {
            auto oldIndex = oldCount - p;
            auto newIndex = newCount - q;
            if (m_oldIDs[oldIndex] == m_newIDs[newIndex]) {
                steps.push_back(Step::Equal);
                --q;
                difference = nextRow(p, q);
            } else if (difference == 0) {
                steps.push_back(Step::Delete);
                difference = nextRow(p, q);
            } else {
                steps.push_back(Step::Insert);
                --q;
                difference -= zeroBit(m_current.words, q) - zeroBit(m_previous.words, q);
            }
        }
        steps.insert(steps.end(), p, Step::Delete);
        steps.insert(steps.end(), q, Step::Insert);
        return steps;
    }

private:
    static int zeroBit(const std::vector<Word>& words, std::size_t bit)
    {
        return static_cast<int>(~words[bit / wordBits] >> (bit % wordBits) & 1);
    }

    // Fills the rows of one block again from its checkpoint, logging their changes, and returns
    // the block's last row.
    Row refillBlock(std::size_t block)
    {
        auto first = block * m_rowsPerBlock + 1;
        auto last = std::min(first + m_rowsPerBlock - 1, m_oldIDs.size());
        auto checkpoint = m_checkpoints.begin() + static_cast<std::ptrdiff_t>(block * m_wordCount);
        Row row { std::vector<Word>(checkpoint, checkpoint + static_cast<std::ptrdiff_t>(m_wordCount)), m_checkpointOnesFrom[block] };
        m_log.size = 0;
        m_log.rowStarts.clear();
        for (auto p = first; p <= last; ++p) {
            m_log.rowStarts.push_back(m_log.size);
            advance<true>(row, m_matches, m_oldIDs[m_oldIDs.size() - p], m_log);
        }
        m_log.rowStarts.push_back(m_log.size);
        m_logFirstRow = first;
        return row;
    }

    std::pair<std::size_t, std::size_t> logRange(std::size_t p) const
    {
        return { m_log.rowStarts[p - m_logFirstRow], m_log.rowStarts[p - m_logFirstRow + 1] };
    }

    // Row p becomes row p - 1.
    void undoRow(std::vector<Word>& words, std::size_t p) const
    {
        auto [begin, end] = logRange(p);
        for (auto index = begin; index < end; ++index)
            words[m_log.changes[index].word] = m_log.changes[index].before;
    }

    // The 0 bits below q of row p less those of row p - 1: only the words row p changed count.
    int rowDifference(std::size_t p, std::size_t q) const
    {
        auto [begin, end] = logRange(p);
        int difference = 0;
        for (auto index = begin; index < end; ++index) {
            std::size_t word = m_log.changes[index].word;
            if (word * wordBits >= q)
                continue;
            Word below = (word + 1) * wordBits <= q ? allOnes : bitsBelow(q);
            difference += std::popcount(~m_current.words[word] & below) - std::popcount(~m_log.changes[index].before & below);
        }
        return difference;
    }

    // Steps the walk down to the next old line: row p becomes row p - 1, and the log moves to the
    // block before when it runs out. Returns the difference at the new row.
    int nextRow(std::size_t& p, std::size_t q)
    {
        undoRow(m_current.words, p);
        --p;
        if (p == 0 || q == 0)
            return 0;
        if (p < m_logFirstRow)
            refillBlock((p - 1) / m_rowsPerBlock);
        undoRow(m_previous.words, p);
        return rowDifference(p, q);
    }

    std::span<const std::uint32_t> m_oldIDs;
    std::span<const std::uint32_t> m_newIDs;
    std::size_t m_wordCount;
    std::size_t m_rowsPerBlock;
    MatchRows m_matches;
    std::vector<Word> m_checkpoints;
    std::vector<std::size_t> m_checkpointOnesFrom;
    ChangeLog m_log;
    std::size_t m_logFirstRow { 0 };
    Row m_current;
    Row m_previous;
};

}

std::vector<Step> steps(std::span<const std::uint32_t> oldIDs, std::span<const std::uint32_t> newIDs, std::uint32_t idCount)
{
    // Equal leading lines are kept before the table is ever consulted, so they need no rows.
    auto common = static_cast<std::size_t>(std::mismatch(oldIDs.begin(), oldIDs.end(), newIDs.begin(), newIDs.end()).first - oldIDs.begin());
    std::vector<Step> result(common, Step::Equal);
    auto oldRest = oldIDs.subspan(common);
    auto newRest = newIDs.subspan(common);
    if (oldRest.empty() || newRest.empty()) {
        result.insert(result.end(), oldRest.size(), Step::Delete);
        result.insert(result.end(), newRest.size(), Step::Insert);
        return result;
    }
    auto walked = CheckpointedTable(oldRest, newRest, idCount).walk();
    result.insert(result.end(), walked.begin(), walked.end());
    return result;
}

}
