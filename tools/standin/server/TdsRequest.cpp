#include "TdsRequest.h"

#include "TdsTypes.h"
#include "TdsVersion.h"

namespace standin::tds {

namespace {

constexpr uint8_t kParamByRef = 0x01; // an output parameter

void skipAllHeaders(ByteReader& r, uint32_t tdsVersion)
{
    if (tdsVersion < kTds72)
        return;
    const uint32_t total = r.u32();
    if (total < 4 || total - 4 > r.remaining())
        throw ProtocolError("the ALL_HEADERS block has an impossible length");
    r.skip(total - 4);
}

bool isBatchSeparator(uint8_t b)
{
    return b == 0x80 || b == 0xFF || b == 0xFE;
}

} // namespace

std::string procedureNameOfId(uint16_t id)
{
    static const char* const names[] = {
        nullptr,
        "sp_cursor",
        "sp_cursoropen",
        "sp_cursorprepare",
        "sp_cursorexecute",
        "sp_cursorprepexec",
        "sp_cursorunprepare",
        "sp_cursorfetch",
        "sp_cursoroption",
        "sp_cursorclose",
        "sp_executesql",
        "sp_prepare",
        "sp_execute",
        "sp_prepexec",
        "sp_prepexecrpc",
        "sp_unprepare",
    };
    if (id == 0 || id >= std::size(names))
        throw ProtocolError("an RPC names procedure id " + std::to_string(id) + ", which does not exist");
    return names[id];
}

std::string parseSqlBatch(const Bytes& payload, uint32_t tdsVersion)
{
    ByteReader r(payload);
    skipAllHeaders(r, tdsVersion);
    if (r.remaining() % 2 != 0)
        throw ProtocolError("a SQL batch's text has an odd number of bytes");
    return r.ucs2(r.remaining() / 2);
}

std::vector<RpcCall> parseRpc(const Bytes& payload, uint32_t tdsVersion)
{
    ByteReader r(payload);
    skipAllHeaders(r, tdsVersion);
    std::vector<RpcCall> calls;
    for (;;) {
        RpcCall call;
        const uint16_t nameLength = r.u16();
        if (nameLength == 0xFFFF)
            call.procedure = procedureNameOfId(r.u16());
        else if (nameLength == 0)
            throw ProtocolError("an RPC names no procedure");
        else
            call.procedure = r.ucs2(nameLength);
        call.options = r.u16();
        while (!r.atEnd() && !isBatchSeparator(r.peek())) {
            RpcParameter p;
            p.name = r.bVarChar();
            const uint8_t status = r.u8();
            p.output = (status & kParamByRef) != 0;
            const WireType type = readTypeInfo(r);
            p.type = columnInfoOf(type);
            p.value = readValue(r, type);
            call.parameters.push_back(std::move(p));
        }
        calls.push_back(std::move(call));
        if (r.atEnd())
            break;
        r.u8(); // the separator
        if (r.atEnd())
            break;
    }
    return calls;
}

} // namespace standin::tds
