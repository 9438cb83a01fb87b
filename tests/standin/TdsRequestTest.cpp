#include "TdsRequest.h"
#include "TdsVersion.h"
#include "TransactionRequest.h"

#include <gtest/gtest.h>

using namespace standin;
using namespace standin::tds;

namespace {

// ALL_HEADERS with the transaction descriptor header, as TDS 7.2+ clients send it.
void allHeaders(ByteWriter& w)
{
    w.u32(22);
    w.u32(18);
    w.u16(2);
    w.u64(0);
    w.u32(1);
}

} // namespace

TEST(TdsRequest, BatchTextFollowsAllHeaders)
{
    ByteWriter w;
    allHeaders(w);
    w.ucs2("SELECT 1");
    EXPECT_EQ(parseSqlBatch(w.bytes(), kTds74), "SELECT 1");

    ByteWriter old;
    old.ucs2("SELECT 2");
    EXPECT_EQ(parseSqlBatch(old.bytes(), kTds71), "SELECT 2");
}

TEST(TdsRequest, BatchWithBrokenHeadersOrOddLengthIsAProtocolError)
{
    ByteWriter w;
    w.u32(1000);
    EXPECT_THROW(parseSqlBatch(w.bytes(), kTds74), ProtocolError);
    ByteWriter odd;
    allHeaders(odd);
    odd.u8('x');
    EXPECT_THROW(parseSqlBatch(odd.bytes(), kTds74), ProtocolError);
}

TEST(TdsRequest, RpcByProcedureIdWithOutputParameter)
{
    ByteWriter w;
    allHeaders(w);
    w.u16(0xFFFF);
    w.u16(10); // sp_executesql
    w.u16(0);
    // @stmt nvarchar(4000)
    w.bVarChar("@stmt");
    w.u8(0);
    w.u8(0xE7);
    w.u16(8000);
    w.raw(Bytes{9, 4, 0xD0, 0, 0x34});
    w.u16(4);
    w.ucs2("go");
    // @n int OUTPUT
    w.bVarChar("@n");
    w.u8(1);
    w.u8(0x26);
    w.u8(4);
    w.u8(0);
    const std::vector<RpcCall> calls = parseRpc(w.bytes(), kTds74);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].procedure, "sp_executesql");
    ASSERT_EQ(calls[0].parameters.size(), 2u);
    EXPECT_EQ(calls[0].parameters[0].name, "@stmt");
    EXPECT_EQ(calls[0].parameters[0].value, Value(std::string("go")));
    EXPECT_FALSE(calls[0].parameters[0].output);
    EXPECT_EQ(calls[0].parameters[1].name, "@n");
    EXPECT_TRUE(calls[0].parameters[1].output);
    EXPECT_EQ(calls[0].parameters[1].type.type, SqlType::Int);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(calls[0].parameters[1].value));
}

TEST(TdsRequest, RpcByNameAndSeveralCallsInOneRequest)
{
    ByteWriter w;
    allHeaders(w);
    w.usVarChar("start_session");
    w.u16(0);
    w.u8(0xFF); // separator
    w.usVarChar("end_session");
    w.u16(0);
    const std::vector<RpcCall> calls = parseRpc(w.bytes(), kTds74);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].procedure, "start_session");
    EXPECT_EQ(calls[1].procedure, "end_session");
}

TEST(TdsRequest, UnknownProcedureIdIsAProtocolError)
{
    ByteWriter w;
    allHeaders(w);
    w.u16(0xFFFF);
    w.u16(99);
    w.u16(0);
    EXPECT_THROW(parseRpc(w.bytes(), kTds74), ProtocolError);
}

TEST(TdsRequest, TransactionManagerCommitThatBeginsAnother)
{
    ByteWriter w;
    allHeaders(w);
    w.u16(7); // commit
    w.u8(0);  // no name
    w.u8(1);  // begin another
    w.u8(0);
    w.u8(0);
    const TransactionRequest r = parseTransactionRequest(w.bytes());
    EXPECT_EQ(r.kind, TransactionRequest::Commit);
    EXPECT_TRUE(r.beginAnother);

    ByteWriter truncated;
    allHeaders(truncated);
    truncated.u16(7);
    EXPECT_THROW(parseTransactionRequest(truncated.bytes()), ProtocolError);
}

TEST(TdsRequest, TransactionManagerNamesAreCountedInBytes)
{
    ByteWriter w;
    allHeaders(w);
    w.u16(5); // begin
    w.u8(0);  // isolation level
    w.u8(10); // "outer": 5 characters, 10 bytes
    w.ucs2("outer");
    const TransactionRequest begin = parseTransactionRequest(w.bytes());
    EXPECT_EQ(begin.kind, TransactionRequest::Begin);
    EXPECT_EQ(begin.name, "outer");

    ByteWriter rollback;
    allHeaders(rollback);
    rollback.u16(8);
    rollback.u8(8);
    rollback.ucs2("mark");
    rollback.u8(0);
    const TransactionRequest r = parseTransactionRequest(rollback.bytes());
    EXPECT_EQ(r.kind, TransactionRequest::Rollback);
    EXPECT_EQ(r.name, "mark");
    EXPECT_FALSE(r.beginAnother);

    ByteWriter odd;
    allHeaders(odd);
    odd.u16(9);
    odd.u8(3);
    odd.raw(Bytes{'a', 0, 'b'});
    EXPECT_THROW(parseTransactionRequest(odd.bytes()), ProtocolError);
}
