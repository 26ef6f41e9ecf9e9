#include "CollidingNames.h"

#include <QtCore/QHash>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// Qt hashes strings in one of three ways, depending on the processor: by multiplying with 31, by a CRC-32 with
// Castagnoli's polynomial on x86, or by a CRC-32 with the polynomial of Ethernet on ARM. The names made here collide in
// all three, whatever the seed.
//
// A name is a sequence of pairs, each "Aa" or "BB". The multiplying hash is the same for both pairs, because 31 * 'A' +
// 'a' equals 31 * 'B' + 'B'. A CRC is linear: replacing "Aa" by "BB" flips bits of it that depend only on the place of
// the pair. So two names collide if they differ in a set of places whose flips cancel each other out. The two CRCs have
// 64 bits together. Each pair beyond 64 doubles the number of such sets.

namespace {

constexpr std::size_t bitsOfSums = 64;

constexpr std::uint32_t castagnoli = 0x82f63b78;
constexpr std::uint32_t ethernet = 0xedb88320;

// Returns the CRC of the text's UTF-16 code units, with the seed 0.
std::uint32_t checksum(const QString& text, std::uint32_t polynomial)
{
    std::uint32_t sum = 0;
    for (const QChar character : text) {
        sum ^= character.unicode();
        for (int bit = 0; bit < 16; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? polynomial : 0);
        }
    }
    return sum;
}

std::uint64_t checksums(const QString& text)
{
    return std::uint64_t {checksum(text, castagnoli)} << 32 | checksum(text, ethernet);
}

/// One bool for each pair of a name: true for "BB", false for "Aa".
using Places = std::vector<bool>;

QString nameOf(const Places& places)
{
    QString name;
    for (const bool isOther : places) {
        name += isOther ? QLatin1String("BB") : QLatin1String("Aa");
    }
    return name;
}

void flip(Places& places, const Places& others)
{
    for (std::size_t i = 0; i < places.size(); ++i) {
        places[i] = places[i] != others[i];
    }
}

/// Returns linearly independent sets of places. Flipping the pairs at all places of a set changes neither checksum.
std::vector<Places> neutralSets(std::size_t pairs)
{
    struct Row {
        std::uint64_t flipped;
        Places places;
    };
    const std::uint64_t unflipped = checksums(nameOf(Places(pairs)));
    // Gaussian elimination. Each row is stored at the index of the highest bit that it flips.
    std::array<Row, bitsOfSums> rows {};
    std::vector<Places> found;
    for (std::size_t i = 0; i < pairs; ++i) {
        Row row {0, Places(pairs)};
        row.places[i] = true;
        row.flipped = checksums(nameOf(row.places)) ^ unflipped;
        for (std::size_t bit = bitsOfSums; bit-- > 0 && row.flipped != 0;) {
            if ((row.flipped >> bit & 1) == 0) {
                continue;
            }
            if (rows[bit].flipped == 0) {
                rows[bit] = row;
                break;
            }
            row.flipped ^= rows[bit].flipped;
            flip(row.places, rows[bit].places);
        }
        if (row.flipped == 0) {
            found.push_back(row.places);
        }
    }
    return found;
}

} // namespace

QStringList collidingNames(int number)
{
    std::size_t pairs = bitsOfSums;
    while (number > 1 << (pairs - bitsOfSums)) {
        ++pairs;
    }
    const std::vector<Places> sets = neutralSets(pairs);
    QStringList names;
    for (int i = 0; i < number; ++i) {
        Places places(pairs);
        for (std::size_t set = 0; set < sets.size(); ++set) {
            if ((i >> set & 1) != 0) {
                flip(places, sets[set]);
            }
        }
        names << nameOf(places);
        if (qHash(names.constLast(), 1) != qHash(names.constFirst(), 1)) {
            qFatal("names do not collide");
        }
    }
    return names;
}
