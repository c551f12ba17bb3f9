#include "charset/VrlinTable.h"

namespace tesselex {
namespace {

struct Slot {
    char16_t ch;
    std::uint8_t code;
};

// In the order the set was defined: 789 is written twice and keeps its second code (248), so
// no character carries 237. The plain + - . ? really do have codes above 200.
constexpr Slot kLetters[] = {
    // Swedish letters.
    {197, 131},
    {196, 132},
    {214, 133},
    {229, 134},
    {228, 135},
    {246, 136},
    // Special letters and signs.
    {8467, 160},
    {321, 161},
    {216, 162},
    {208, 163},
    {222, 164},
    {198, 165},
    {338, 166},
    {697, 167},
    {183, 168},
    {9837, 169},
    {174, 170},
    {177, 171},
    {702, 174},
    {945, 175},
    {703, 176},
    {322, 177},
    {248, 178},
    {273, 179},
    {254, 180},
    {230, 181},
    {339, 182},
    {698, 183},
    {305, 184},
    {163, 185},
    {240, 186},
    {8224, 187},
    {946, 190},
    {947, 191},
    {186, 192},
    {185, 193},
    {178, 194},
    {179, 195},
    // Superscripts.
    {8308, 196},
    {8309, 197},
    {8310, 198},
    {8311, 199},
    {8312, 200},
    {8313, 201},
    {8314, 202},
    {43, 203},
    {45, 204},
    {46, 205},
    // Subscripts.
    {8320, 208},
    {8321, 209},
    {8322, 210},
    {8323, 211},
    {8324, 212},
    {8325, 213},
    {8326, 214},
    {8327, 215},
    {8328, 216},
    {8329, 217},
    {8330, 218},
    {8331, 219},
    {8333, 220},
    {8334, 221},
    {63, 224},
};

constexpr Slot kMarks[] = {
    {768, 225}, {769, 226}, {770, 227}, {771, 228},   {772, 229},   {774, 230}, {775, 231},
    {776, 232}, {780, 233}, {789, 237}, {65056, 235}, {65057, 236}, {733, 238}, {784, 239},
    {807, 240}, {777, 241}, {803, 242}, {804, 243},   {805, 244},   {819, 245}, {818, 246},
    {808, 247}, {789, 248}, {812, 249}, {65058, 250}, {65059, 251}, {787, 254},
};

VrlinTable Build() {
    VrlinTable table{};
    for (const Slot& slot : kLetters) {
        table[slot.ch] = slot.code;
    }
    for (const Slot& slot : kMarks) {
        table[slot.ch] = static_cast<std::uint16_t>(0x100 | slot.code);
    }
    return table;
}

}  // namespace

const VrlinTable& TheVrlinTable() {
    static const VrlinTable table = Build();
    return table;
}

}  // namespace tesselex
