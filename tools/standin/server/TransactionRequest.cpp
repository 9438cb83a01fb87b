#include "TransactionRequest.h"

namespace standin::tds {

TransactionRequest parseTransactionRequest(const Bytes& payload)
{
    ByteReader r(payload);
    const uint32_t headers = r.u32(); // ALL_HEADERS: always present in these requests
    if (headers < 4 || headers - 4 > r.remaining())
        throw ProtocolError("the ALL_HEADERS block has an impossible length");
    r.skip(headers - 4);
    TransactionRequest request;
    request.kind = r.u16();
    switch (request.kind) {
    case TransactionRequest::Begin:
        r.u8(); // isolation level: the engine has one
        request.name = r.bVarChar();
        break;
    case TransactionRequest::Commit:
    case TransactionRequest::Rollback:
        request.name = r.bVarChar();
        request.beginAnother = r.u8() != 0;
        if (request.beginAnother) {
            r.u8();
            r.bVarChar();
        }
        break;
    case TransactionRequest::Save:
        request.name = r.bVarChar();
        break;
    default:
        break;
    }
    return request;
}

} // namespace standin::tds
