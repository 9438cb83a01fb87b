// A structure index as labfolio-mst finds it: the .mst file and its four companions, cut from
// the input at each "#LFFUZZ#" as for the StructureIndex harness (an odd first byte sets the
// commit records' CRC-32). The index is opened read-only, verified and searched; whatever the
// files hold, that raises only LfError (the command's "damaged" or "cannot be used").

#include "FuzzInput.h"
#include "IndexSnapshot.h"
#include "IndexVerifier.h"
#include "LfError.h"
#include "StructureIndexLayout.h"
#include "StructureQuery.h"
#include "SubstructureSearch.h"

#include <algorithm>
#include <array>
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
        fuzzinput::InputFile("Search.mst"), fuzzinput::InputFile("Search.msx"),
        fuzzinput::InputFile("Search.mss"), fuzzinput::InputFile("Search.msk"),
        fuzzinput::InputFile("Search.msf")};
    static const StructureQuery query("c1ccccc1", false);
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

    try {
        IndexSnapshot index(files[0].path());
        SubstructureSearch(index, query).run({}, [](uint32_t) {});
        IndexVerifier(index).run();
    } catch (const LfError&) {
        // reported by the command as damage or an unusable file
    }
    return 0;
}
