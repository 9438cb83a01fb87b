#pragma once

// A structure index made from a fuzz input: the .mst file and its four companions, cut from the
// input at each "#LFFUZZ#" (a missing piece is a missing file). The first byte is a switch:
// when odd, the commit records get their right CRC-32, so that the fuzzer reaches what lies
// behind them rather than stopping at the checksum.
#include "FuzzInput.h"
#include "StructureIndexLayout.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace fuzzinput {

class IndexFiles {
public:
    // The five files are named BASE.mst, BASE.msx, ... in the fuzzer's temporary folder.
    explicit IndexFiles(const std::string& base)
        : m_files{InputFile(base + ".mst"), InputFile(base + ".msx"), InputFile(base + ".mss"),
                  InputFile(base + ".msk"), InputFile(base + ".msf")}
    {
    }

    // Writes the files for this input; false for an empty input (nothing to try).
    bool write(const uint8_t* data, size_t size)
    {
        if (size == 0)
            return false;
        const bool fixCrcs = data[0] & 1;
        const std::string input = text(data + 1, size - 1);
        constexpr std::string_view kCut = "#LFFUZZ#";
        size_t from = 0;
        for (size_t k = 0; k < m_files.size(); ++k) {
            if (from > input.size()) {
                m_files[k].remove();
                continue;
            }
            const size_t to = std::min(input.find(kCut, from), input.size());
            std::string piece = input.substr(from, to - from);
            if (k == 0 && fixCrcs)
                setCrcs(piece);
            m_files[k].write(reinterpret_cast<const uint8_t*>(piece.data()), piece.size());
            from = to + kCut.size();
        }
        return true;
    }

    // The .mst file's path.
    const std::filesystem::path& indexPath() const { return m_files[0].path(); }

private:
    static void setCrcs(std::string& mst)
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

    std::array<InputFile, indexlayout::kFileCount> m_files;
};

} // namespace fuzzinput
