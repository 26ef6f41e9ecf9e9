#include "CollidingNames.h"

#include <QtCore/QHash>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// Qt hashes strings in one of two ways, depending on the processor: by multiplying with 31, or as a CRC-32 checksum, with
// Castagnoli's polynomial on x86 and Ethernet's on ARM. The names here collide in all of them, whatever the seed.
//
// A name is a row of pairs, each "Aa" or "BB". Multiplying makes them equal: 31 * 'A' + 'a' is 31 * 'B' + 'B'. A checksum
// is linear: "BB" instead of "Aa" flips bits of it that depend on nothing but the place in the name. So "BB" can stand at
// every set of places whose flips cancel each other out. The two checksums have 64 bits together; each pair beyond 64
// doubles the number of such sets.

namespace {

constexpr std::size_t bitsOfSums = 64;

constexpr std::uint32_t castagnoli = 0x82f63b78;
constexpr std::uint32_t ethernet = 0xedb88320;

// Of UTF-16 as it lies in memory, with the seed 0.
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

/// The places of "BB" in a name.
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

/// Sets of places, none a combination of others, at which "BB" leaves both checksums as they are.
std::vector<Places> neutralSets(std::size_t pairs)
{
    struct Row {
        std::uint64_t flipped;
        Places places;
    };
    const std::uint64_t unflipped = checksums(nameOf(Places(pairs)));
    // Gaussian elimination; each row is kept under the highest bit that it flips.
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
