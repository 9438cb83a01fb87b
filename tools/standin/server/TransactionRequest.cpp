#include "TransactionRequest.h"

namespace standin::tds {

namespace {

// Transaction names come as B_VARBYTE: one byte giving the length in bytes, then UTF-16LE.
std::string transactionName(ByteReader& r)
{
    const uint8_t bytes = r.u8();
    if (bytes % 2 != 0)
        throw ProtocolError("a transaction name has an odd number of bytes");
    return utf16leToUtf8(r.take(bytes), bytes);
}

} // namespace

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
        request.name = transactionName(r);
        break;
    case TransactionRequest::Commit:
    case TransactionRequest::Rollback:
        request.name = transactionName(r);
        request.beginAnother = r.u8() != 0;
        if (request.beginAnother) {
            r.u8();
            transactionName(r);
        }
        break;
    case TransactionRequest::Save:
        request.name = transactionName(r);
        break;
    default:
        break;
    }
    return request;
}

} // namespace standin::tds
