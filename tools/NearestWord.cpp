#include "NearestWord.h"

#include <QtCore/QVector>

#include <algorithm>
#include <numeric>

namespace {

// The number of letters to insert, remove, replace or swap with a neighbour to turn one word into the other.
int distance(const QString& from, const QString& to)
{
    QVector<int> beforeLast(to.size() + 1);
    QVector<int> last(to.size() + 1);
    QVector<int> current(to.size() + 1);
    std::iota(last.begin(), last.end(), 0);
    for (int i = 1; i <= from.size(); ++i) {
        current[0] = i;
        for (int j = 1; j <= to.size(); ++j) {
            const int replaced = last.at(j - 1) + (from.at(i - 1) == to.at(j - 1) ? 0 : 1);
            current[j] = std::min({replaced, last.at(j) + 1, current.at(j - 1) + 1});
            const bool exchanged = i > 1 && j > 1 && from.at(i - 1) == to.at(j - 2) && from.at(i - 2) == to.at(j - 1);
            if (exchanged) {
                current[j] = std::min(current.at(j), beforeLast.at(j - 2) + 1);
            }
        }
        beforeLast.swap(last);
        last.swap(current);
    }
    return last.at(to.size());
}

} // namespace

QString nearestWord(const QString& word, const QStringList& words)
{
    // Limits the cost of the comparison. No command or option is longer; a longer file name gets no suggestion.
    constexpr int longest = 64;
    const QString lowered = word.toLower();
    if (lowered.isEmpty() || lowered.size() > longest) {
        return {};
    }
    QString nearest;
    int least = 1 + qMax(1, lowered.size() / 3);
    for (const QString& candidate : words) {
        const int steps = distance(lowered, candidate);
        if (steps < least) {
            least = steps;
            nearest = candidate;
        }
    }
    // If only one word begins with the given one, that word is meant.
    const auto startsLikeIt = [&](const QString& candidate) { return candidate.startsWith(lowered); };
    if (nearest.isNull() && std::count_if(words.begin(), words.end(), startsLikeIt) == 1) {
        return *std::find_if(words.begin(), words.end(), startsLikeIt);
    }
    return nearest;
}
