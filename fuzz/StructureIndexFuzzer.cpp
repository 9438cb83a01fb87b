// A structure index found on disk: its .mst file and the four companions, cut from the input at
// each "#LFFUZZ#" (a missing piece is a missing file). The rebuild opens it, appends, commits;
// whatever the files hold, that raises only LfError, and an index that opens takes one more
// structure and opens again with it.
// The first byte is a switch: when odd, the commit records get their right CRC-32, so that the
// fuzzer reaches what lies behind them rather than stopping at the checksum.

#include "FuzzInput.h"
#include "LfError.h"
#include "StructureIndex.h"
#include "StructureIndexLayout.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace {

void setCrcs(std::string& mst)
{
    for (uint32_t slot = 0; slot < 2; ++slot) {
        const uint64_t at = indexlayout::commitOffset(slot);
        if (mst.size() < at + indexlayout::kCommitSize)
            return;
        const uint32_t crc = indexlayout::crc32(mst.data() + at, 28);
        for (int i = 0; i < 4; ++i)
            mst[at + 28 + i] = static_cast<char>(crc >> (8 * i));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static std::array<fuzzinput::InputFile, indexlayout::kFileCount> files = {
        fuzzinput::InputFile("Labfolio.mst"), fuzzinput::InputFile("Labfolio.msx"),
        fuzzinput::InputFile("Labfolio.mss"), fuzzinput::InputFile("Labfolio.msk"),
        fuzzinput::InputFile("Labfolio.msf")};
    if (size == 0)
        return 0;
    const bool fixCrcs = data[0] & 1;
    const std::string input = fuzzinput::text(data + 1, size - 1);
    constexpr std::string_view kCut = "#LFFUZZ#";
    size_t from = 0;
    for (size_t k = 0; k < files.size(); ++k) {
        if (from > input.size()) {
            files[k].remove();
            continue;
        }
        const size_t to = std::min(input.find(kCut, from), input.size());
        std::string piece = input.substr(from, to - from);
        if (k == 0 && fixCrcs)
            setCrcs(piece);
        files[k].write(reinterpret_cast<const uint8_t*>(piece.data()), piece.size());
        from = to + kCut.size();
    }
    const std::string path = files[0].path().string();

    try {
        int64_t count = 0;
        {
            StructureIndex index;
            index.OpenOrCreate(path, 0);
            count = index.Count();
            for (int64_t i = std::max<int64_t>(0, count - 4); i < count; ++i) {
                try {
                    index.Record(i);
                } catch (const LfError&) {
                    // a damaged structure is reported; the others still read
                }
            }
            index.AddMolecule(nullptr, 0);
            index.Commit();
        }
        StructureIndex again;
        again.OpenOrCreate(path, 0);
        if (again.Count() != count + 1 || !again.Record(count).empty())
            std::abort(); // the committed structure was lost
    } catch (const LfError&) {
        // the rebuild stops with the error and names the file
    }
    return 0;
}
