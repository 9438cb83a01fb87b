#!/usr/bin/env python3
"""Writes the seed corpora of fuzz/corpus/: small, well-formed examples of what each parser
reads, a few near misses, and every input that once crashed a parser (named crash-*).
Run again after changing it; files it does not write (crash inputs copied in from a fuzzing
run) are left alone."""

import os
import struct

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")


def write(target, name, data):
    folder = os.path.join(ROOT, target)
    os.makedirs(folder, exist_ok=True)
    if isinstance(data, str):
        data = data.encode("utf-8")
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def utf16(text):
    return text.encode("utf-16-le")


# --- registry file ------------------------------------------------------------------------
INSTANCES = (
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Microsoft SQL Server]\r\n"
    '"InstalledInstances"=hex(7):4d,00,53,00,53,00,51,00,4c,00,53,00,45,00,52,00,56,00,\\\r\n'
    "  45,00,52,00,00,00,56,00,45,00,4c,00,44,00,52,00,49,00,4e,00,00,00,00,00\r\n"
    "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Veldrin\\Labfolio\\10.0]\r\n"
    '"Path"="C:\\\\Program Files\\\\Labfolio"\r\n'
    '"Port"=dword:00000599\r\n'
    '@="default \\"quoted\\""\r\n'
    '"Bin"=hex:01,02,ff\r\n'
    "; a comment\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Gone]\r\n"
    '"Deleted"=-\r\n'
)
write("RegistryFile", "instances-utf8.reg", INSTANCES)
write("RegistryFile", "instances-utf16.reg", b"\xff\xfe" + utf16(INSTANCES))
write("RegistryFile", "instances-utf8-bom.reg", b"\xef\xbb\xbf" + INSTANCES.encode())
write("RegistryFile", "regedit4.reg",
      'REGEDIT4\n\n[HKLM\\K]\n"E"=hex(2):25,41,25,00\n"M"=hex(7):41,00,42,00,00\n')
write("RegistryFile", "crash-hex-byte-too-wide", bytes.fromhex("5b0a22223d6865783a3830303030303030"))
write("RegistryFile", "crash-dword-not-hex", bytes.fromhex("5b0a22223d64776f72643a7a"))
write("RegistryFile", "crash-dword-17-digits", '[\n""=dword:12345678901234567')
write("RegistryFile", "crash-hex-type-not-hex", bytes.fromhex("5b0a22223d686578287a293a"))
write("RegistryFile", "crash-utf16-hex-byte-too-wide",
      bytes.fromhex("fffe5b000a00220022003d006800650078003a0064003000430045006500630064006500"))

# --- text codec ---------------------------------------------------------------------------
write("TextCodec", "ascii", utf16("SELECT 1"))
write("TextCodec", "surrogate-pair", utf16("\U0001F9EA flask"))
write("TextCodec", "unpaired-high", b"\x3d\xd8\x41\x00")
write("TextCodec", "unpaired-low-at-end", b"\x41\x00\x00\xdc")
write("TextCodec", "odd-length", b"\x41\x00\x42")
write("TextCodec", "code-point-max", struct.pack("<I", 0x10FFFF))
write("TextCodec", "code-point-beyond", struct.pack("<I", 0xFFFFFFFF))

# --- SQL Browser answer -------------------------------------------------------------------
def svr_resp(records):
    body = "".join(";".join(f"{k};{v}" for k, v in r) + ";;" for r in records).encode()
    return b"\x05" + struct.pack("<H", len(body)) + body


VELDRIN = [("ServerName", "LAB1"), ("InstanceName", "VELDRIN"), ("IsClustered", "No"),
           ("Version", "9.00.5000.00"), ("tcp", "49172")]
DEFAULT = [("ServerName", "LAB1"), ("InstanceName", "MSSQLSERVER"), ("IsClustered", "No"),
           ("Version", "9.00.5000.00"), ("tcp", "1433"), ("np", "\\\\LAB1\\pipe\\sql\\query")]
write("SsrpResponse", "one-instance", svr_resp([VELDRIN]))
write("SsrpResponse", "two-instances", svr_resp([DEFAULT, VELDRIN]))
write("SsrpResponse", "no-tcp", svr_resp([VELDRIN[:4]]))
write("SsrpResponse", "port-not-a-number", svr_resp([VELDRIN[:4] + [("tcp", "99999999999")]]))
write("SsrpResponse", "size-too-large", svr_resp([VELDRIN])[:20])

# --- server name --------------------------------------------------------------------------
for i, name in enumerate(["(local)", ".", "", "localhost", "LAB1\\VELDRIN", "tcp:lab1,1433",
                          "PC1\\VELDRIN\0PC1", "host,", "host\\", "host,99999999999",
                          "(local)\\VELDRIN,1500", "tcp:"]):
    write("ServerName", f"name-{i:02}", name)

# --- osql ---------------------------------------------------------------------------------
SCRIPT = "SELECT 1\r\nGO\r\n  go  \r\nCREATE TABLE t (x int)\nGO\nSELECT 'GO'\n"
write("OsqlScript", "utf8", SCRIPT)
write("OsqlScript", "utf8-bom", b"\xef\xbb\xbf" + SCRIPT.encode())
write("OsqlScript", "utf16", b"\xff\xfe" + utf16(SCRIPT))
write("OsqlScript", "utf16-odd", b"\xff\xfe" + utf16(SCRIPT)[:-1])
write("OsqlScript", "only-go", "GO\nGO\n")
for i, args in enumerate([["-E", "-S", "PC1\\VELDRIN", "-d", "master", "-i", "script.sql", "-n"],
                          ["-Usa", "-P", "-S"], ["-Q", "SELECT 1", "-o", "out.txt"],
                          ["-P"], ["-", "--", "-x"], ["-S(local)", "-Psecret", "-Uadmin"]]):
    write("OsqlArguments", f"args-{i:02}", "\0".join(args))

# --- stand-in TDS decoders ----------------------------------------------------------------
def prelogin(options):
    table_size = 5 * len(options) + 1
    table, data = b"", b""
    for opt, value in options:
        table += struct.pack(">BHH", opt, table_size + len(data), len(value))
        data += value
    return table + b"\xff" + data


write("TdsPreLogin", "freetds", prelogin([(0, b"\x09\x00\x00\x00\x00\x00"), (1, b"\x02"),
                                          (2, b"VELDRIN\0"), (3, b"\x00\x00\x00\x00"), (4, b"\x00")]))
write("TdsPreLogin", "empty-instance", prelogin([(0, b"\x07\x00\x00\x00\x00\x00"), (2, b"")]))
write("TdsPreLogin", "option-past-end", b"\x01\x00\x10\x00\x10\xff")
write("TdsPreLogin", "terminator-only", b"\xff")


def login7(user="sa", password="secret", database="master", version=0x74000004):
    fields = ["rawclient", user, password, "osql", "127.0.0.1", "", "ODBC", "", database]
    header_size = 36 + 9 * 4 + 6 + 4 * 5
    fixed = struct.pack("<IIIIII", 0, version, 4096, 7, 1234, 0) + bytes([0xE0, 0x03, 0, 0])
    fixed += struct.pack("<II", 0, 0x409)
    data = b""
    for i, text in enumerate(fields):
        raw = utf16(text)
        if i == 2:
            raw = bytes((((b << 4) | (b >> 4)) & 0xFF) ^ 0xA5 for b in raw)
        fixed += struct.pack("<HH", header_size + len(data), len(raw) // 2)
        data += raw
    fixed += b"\0" * 6 + b"\0" * 20
    whole = fixed + data
    return struct.pack("<I", len(whole)) + whole[4:]


write("TdsLogin7", "sql-login", login7())
write("TdsLogin7", "tds71", login7(version=0x71000001))
write("TdsLogin7", "no-database", login7(database=""))
write("TdsLogin7", "truncated", login7()[:60])

ALL_HEADERS = struct.pack("<IIHQI", 22, 18, 2, 0, 1)
write("TdsSqlBatch", "tds74", b"\x03" + ALL_HEADERS + utf16("SELECT name FROM sys.databases"))
write("TdsSqlBatch", "tds71", b"\x00" + utf16("SELECT 1"))
write("TdsSqlBatch", "headers-too-long", b"\x01" + struct.pack("<I", 4000) + utf16("x"))
write("TdsSqlBatch", "odd-text", b"\x01" + ALL_HEADERS + b"S\x00E")


def param(name, type_info, value):
    return bytes([len(name)]) + utf16(name) + b"\x00" + type_info + value


COLLATION = b"\x09\x04\xd0\x00\x34"


def nvarchar(text):
    raw = utf16(text)
    return b"\xe7" + struct.pack("<H", 8000) + COLLATION, struct.pack("<H", len(raw)) + raw


def executesql(params):
    return ALL_HEADERS + struct.pack("<HHH", 0xFFFF, 10, 0) + b"".join(params)


stmt = nvarchar("SELECT @P1, @P2")
defs = nvarchar("@P1 int, @P2 datetime")
write("TdsRpc", "executesql-int", b"\x03" + executesql([
    param("", *stmt), param("", *defs), param("@P1", b"\x26\x04", b"\x04" + struct.pack("<i", 42)),
    param("@P2", b"\x6f\x08", b"\x08" + struct.pack("<iI", 45000, 300))]))
write("TdsRpc", "by-name-tds71", b"\x00" + struct.pack("<H", 7) + utf16("sp_who2") + b"\x00\x00")
write("TdsRpc", "null-int", b"\x02" + executesql([param("", *stmt), param("@P1", b"\x26\x04", b"\x00")]))
write("TdsRpc", "decimal", b"\x03" + executesql([
    param("@P1", b"\x6a\x11\x12\x02", b"\x05\x01" + struct.pack("<I", 12345))]))
# An integer parameter that claims 9 bytes (wider than any integer type).
write("TdsRpc", "crash-intn-nine-bytes", b"\x03" + executesql([
    param("@P1", b"\x26\x1f", b"\x09" + bytes.fromhex("6c1101393039300000"))]))
write("TdsRpc", "crash-as-reported", bytes.fromhex("040100010019000000261f096c1101393039300000"))


def packet(type_, status, payload, packet_id=1):
    return struct.pack(">BBHHBB", type_, status, 8 + len(payload), 0, packet_id, 0) + payload


batch = ALL_HEADERS + utf16("SELECT 1")
write("TdsPacketReader", "one-batch", packet(1, 1, batch))
write("TdsPacketReader", "split-batch", packet(1, 0, batch[:10]) + packet(1, 1, batch[10:], 2))
write("TdsPacketReader", "attention", packet(6, 1, b""))
write("TdsPacketReader", "length-below-header", struct.pack(">BBHHBB", 1, 1, 4, 0, 1, 0))
write("TdsPacketReader", "truncated", packet(1, 1, batch)[:12])
write("TdsPacketReader", "crash-rpc-as-reported", bytes.fromhex("040100010019000000261f096c1101393039300000"))

# --- stand-in T-SQL -----------------------------------------------------------------------
TSQL = {
    "select": "SELECT name, database_id FROM sys.databases WHERE name = N'Lab' ORDER BY 1",
    "create": "CREATE TABLE [dbo].[t] (id int IDENTITY(1,1) PRIMARY KEY, n nvarchar(50) NOT NULL,"
              " d datetime DEFAULT getdate())",
    "insert": "INSERT INTO t (n) VALUES (N'it''s'); SELECT @@IDENTITY, SCOPE_IDENTITY()",
    "comments": "/* outer /* nested */ still */ SELECT 1 -- done\nSELECT 0x0A1b, 1.5e3, $2",
    "control": "DECLARE @v int; SET @v = 1; WHILE @v < 3 BEGIN SET @v = @v + 1 IF @v = 2 BREAK END",
    "try": "BEGIN TRY SELECT 1/0 END TRY BEGIN CATCH SELECT ERROR_NUMBER() END CATCH",
    "case": "SELECT CASE WHEN x > 1 THEN 'a' ELSE CONVERT(varchar(10), x) END FROM (SELECT 1 AS x) q",
    "exec": "EXEC sp_executesql N'SELECT @a', N'@a int', @a = 1",
    "backup": "BACKUP DATABASE Lab TO DISK = 'C:\\b\\Lab.bak' WITH INIT, STATS = 10",
    "unterminated": "SELECT 'abc",
    "crash-nested-parentheses": "SELECT " + "(" * 5000,
}
for name, text in TSQL.items():
    write("TsqlLexer", name, text)
    write("TsqlParser", name, text)
write("TsqlParser", "parameters", "SELECT @a + @b\0@a int, @b nvarchar(10) OUTPUT, @c int = 0 OUTPUT")
write("TsqlParser", "nested-not", "SELECT 1 WHERE " + "NOT " * 3000 + "1 = 1")
write("TsqlParser", "nested-if", "IF 1 = 1 " * 3000 + "SELECT 1")

# --- stand-in value text ------------------------------------------------------------------
for name, text in {"datetime": "2024-02-29 13:45:12.123", "date": "1900-01-01", "t-minutes": "1899-12-31T23:59",
                   "guid": "6F9619FF-8B86-D011-B42D-00C04FC964FF", "not-a-date": "yesterday",
                   "crash-one-digit-seconds-year-1": "1-01-02 10:20:3",
                   "crash-one-digit-seconds": "2020-01-02 10:20:1"}.items():
    write("TdsValueText", name, text)

# --- service list, service file, server configuration -------------------------------------
SERVICE = ("<service><name>Lab</name><type>Client/Server</type><authentication>Windows</authentication>"
           "<configPath>LabData_SRV01.xml</configPath><LoggingFlags>0</LoggingFlags></service>")
DESKTOP = ("<service><name>Desktop</name><type>Desktop</type><authentication>Windows</authentication>"
           "<LoggingFlags>0</LoggingFlags></service>")
write("ServiceList", "two-services", "<services>" + DESKTOP + SERVICE + "</services>")
write("ServiceList", "empty", "<services/>")
write("ServiceList", "comments-and-declaration",
      '<?xml version="1.0"?>\r\n<!-- edited by hand -->\r\n<services>\r\n  ' + SERVICE +
      "\r\n  <other a=\"&quot;1&quot;\"><![CDATA[x]]></other>\r\n</services>\r\n")
write("ServiceList", "utf16", b"\xff\xfe" + utf16("<services>" + SERVICE + "</services>"))
write("ServiceList", "not-a-list", SERVICE)
write("ServiceList", "two-roots", "<services/><services/>")
write("ServiceList", "text-outside", "<services/>x")
write("ServiceList", "unclosed", "<services><service><name>Lab</service>")
write("ServiceList", "empty-file", "")

write("ServiceFile", "client-server", SERVICE)
write("ServiceFile", "desktop", DESKTOP)
write("ServiceFile", "type-wrong-case", SERVICE.replace("Client/Server", "client/server"))
write("ServiceFile", "no-config-path", SERVICE.replace("<configPath>LabData_SRV01.xml</configPath>", ""))
write("ServiceFile", "config-path-bad-name", SERVICE.replace("LabData_SRV01.xml", "Lab*|?.xml"))
write("ServiceFile", "entities", SERVICE.replace("<name>Lab</name>", "<name>L&amp;b &#x1F9EA;&#13;</name>"))
write("ServiceFile", "list-not-file", "<services>" + SERVICE + "</services>")
write("ServiceFile", "unclosed", "<service><name>Lab</service>")
write("ServiceFile", "utf16-bom", b"\xff\xfe" + utf16(SERVICE))

CONFIG = ("<lfserver><connectionString>file name=LabData_SRV01.udl</connectionString>"
          "<authenticator>LabfolioSQL9.SqlServerAuthenticator</authenticator><schemaName/>"
          "<LoggingFlags>0</LoggingFlags><webLogging>0</webLogging>"
          "<MSTFile>\\\\SRV01\\Labfolio\\LabData.mst</MSTFile><version>10.0.0</version></lfserver>")
write("ServerConfigFile", "created", CONFIG)
write("ServerConfigFile", "no-prefix", "<lfserver><connectionString>LabData.udl</connectionString></lfserver>")
write("ServerConfigFile", "prefix-only", "<lfserver><connectionString>file name=</connectionString></lfserver>")
write("ServerConfigFile", "prefix-twice",
      "<lfserver><connectionString>file name=file name=x.udl</connectionString></lfserver>")
write("ServerConfigFile", "bad-name", "<lfserver><connectionString>Lab*.udl</connectionString></lfserver>")
write("ServerConfigFile", "extra-and-mixed",
      "<lfserver><extra>keep &amp; this</extra><connectionString>a<!--c-->b.udl</connectionString>"
      "<version><v/>1</version></lfserver>")
write("ServerConfigFile", "no-connection", "<lfserver><authenticator>x</authenticator></lfserver>")
write("ServerConfigFile", "wrong-root", SERVICE)

# --- data link file -----------------------------------------------------------------------
UDL_HEAD = "[oledb]\r\n; Everything after this line is an OLE DB initstring\r\n"
UDL_CONN = ("Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;"
            "Initial Catalog=LFOffline9;Data Source=PC1\\VELDRIN")
write("DataLinkFile", "utf16-bom", b"\xff\xfe" + utf16(UDL_HEAD + UDL_CONN))
write("DataLinkFile", "utf8", UDL_HEAD + UDL_CONN + "\r\n")
write("DataLinkFile", "utf8-bom", b"\xef\xbb\xbf" + (UDL_HEAD + "data source = x;DATA SOURCE=(local) ;a=b").encode())
write("DataLinkFile", "utf16-odd", b"\xff\xfe" + utf16(UDL_HEAD + UDL_CONN)[:-1])
write("DataLinkFile", "utf16-unpaired", b"\xff\xfe" + utf16(UDL_HEAD + "Data Source=") + b"\x3d\xd8")
write("DataLinkFile", "bom-only", b"\xff\xfe")
write("DataLinkFile", "no-data-source", UDL_HEAD + "Provider=SQLOLEDB.1")

for i, lines in enumerate([["[oledb]", UDL_CONN], ["Data Source=", "data source=A;B", "x"],
                           ["DATA SOURCE=srv \t ;Data Source=other"], ["Data Source= \t"],
                           ["Data Source=first", "no key here"], [""]]):
    write("DataSourceLine", f"lines-{i:02}", "\0".join(lines))

# --- structure index ----------------------------------------------------------------------
# The five files of an index, cut apart by "#LFFUZZ#"; the first byte set to 1 has the harness
# put the right CRC-32 into the commit records.
import zlib

IDX_MAGIC = [b"LFIDXMST", b"LFIDXMSX", b"LFIDXMSS", b"LFIDXMSK", b"LFIDXMSF"]
IDX_RECORD = [0, 24, 0, 256, 16]


def idx_header(kind, uid=0x1122334455667788, version=1):
    return IDX_MAGIC[kind] + struct.pack("<IIQQ", version, IDX_RECORD[kind], uid, 0)


def idx_commit(sequence, count, data_bytes):
    raw = struct.pack("<IIQQI", 0x5243464C, sequence, count, data_bytes, 0)
    return raw + struct.pack("<I", zlib.crc32(raw))


def index_files(molecules, commits=None, uid=0x1122334455667788):
    """molecules: the .mss bytes of each structure (b"" for none)."""
    params = struct.pack("<II", 1, 2048) + b"RDKit Pattern 1.0.0\0"
    params += b"\0" * (32 - len(params))
    msx, mss, msk, msf = b"", b"", b"", b""
    for i, mol in enumerate(molecules):
        msx += struct.pack("<QIIII", len(mss), len(mol), 0 if mol else 1, i + 1, zlib.crc32(mol))
        mss += mol
        msk += bytes([i & 0xFF]) * 256
        msf += struct.pack("<IIII", len(mol) // 4, len(mol) // 5, 1, 0)
    if commits is None:
        commits = [idx_commit(0, 0, 0), idx_commit(1, len(molecules), len(mss))]
    return [idx_header(0, uid) + params + b"".join(commits), idx_header(1, uid) + msx,
            idx_header(2, uid) + mss, idx_header(3, uid) + msk, idx_header(4, uid) + msf]


def index_input(files, fix_crcs=False):
    return bytes([1 if fix_crcs else 0]) + b"#LFFUZZ#".join(files)


MOLS = [b"", b"\x01pickle-one", b"\x02pickle-two-longer"]
write("StructureIndex", "three", index_input(index_files(MOLS)))
write("StructureIndex", "empty", index_input(index_files([])))
write("StructureIndex", "fix-crcs", index_input(index_files(MOLS), fix_crcs=True))
stopped = index_files(MOLS[:2])
stopped = [f + extra for f, extra in zip(stopped, [b"", b"\0" * 24, b"more", b"\0" * 256, b"\0" * 16])]
write("StructureIndex", "stopped-after-commit", index_input(stopped))
write("StructureIndex", "newer-version",
      index_input([idx_header(0, version=2) + index_files(MOLS)[0][32:]] + index_files(MOLS)[1:]))
other = index_files(MOLS)
other[3] = idx_header(3, uid=7) + other[3][32:]
write("StructureIndex", "companion-of-another", index_input(other))
write("StructureIndex", "missing-companions", index_input(index_files(MOLS)[:3]))
write("StructureIndex", "no-files", b"\0")
write("StructureIndex", "bad-commits",
      index_input(index_files(MOLS, commits=[idx_commit(5, 9, 0), idx_commit(6, 3, 99)[:-1] + b"\0"])))
damaged = index_files(MOLS)
damaged[1] = damaged[1][:32 + 24 + 8] + struct.pack("<I", 0xFFFFFFF0) + damaged[1][32 + 24 + 12:]
write("StructureIndex", "crash-entry-length-huge", index_input(damaged))

# --- CDXML of stored structures -----------------------------------------------------------
with open(os.path.join(os.path.dirname(ROOT), "..", "tests", "data", "structindex", "nci30.txt")) as f:
    NCI = f.read().splitlines()
for i in (0, 5, 12):
    write("MoleculeFromCDXML", f"nci-{i:02}", NCI[i])
CDXML_HEAD = '<?xml version="1.0"?><CDXML><page><fragment>'
CDXML_TAIL = "</fragment></page></CDXML>"
write("MoleculeFromCDXML", "two-fragments",
      '<?xml version="1.0"?><CDXML><page><fragment><n id="1" p="0 0"/><n id="2" p="30 0" Element="7"/>'
      '<b B="1" E="2" Order="3"/></fragment><fragment><n id="3" p="90 0" Element="17" Charge="-1"/>'
      "</fragment></page></CDXML>")
write("MoleculeFromCDXML", "bond-to-nowhere", CDXML_HEAD + '<n id="1" p="0 0"/><b B="1" E="9"/>' + CDXML_TAIL)
write("MoleculeFromCDXML", "element-out-of-range", CDXML_HEAD + '<n id="1" p="0 0" Element="250"/>' + CDXML_TAIL)
write("MoleculeFromCDXML", "no-fragment", '<?xml version="1.0"?><CDXML><page/></CDXML>')
write("MoleculeFromCDXML", "not-cdxml", "this is not a CDXML document")
write("MoleculeFromCDXML", "unclosed", CDXML_HEAD + '<n id="1" p="0 0"')

# --- labfolio-mst's reader, check and search ------------------------------------------------
# The StructureIndex shapes, and an index the chemistry module built: three NCI structures and an
# entry without a structure (zlib, base64), whole and damaged in the ways verify names.
import base64

for name in ["three", "empty", "fix-crcs", "stopped-after-commit", "newer-version", "companion-of-another",
             "missing-companions", "bad-commits", "crash-entry-length-huge"]:
    with open(os.path.join(ROOT, "StructureIndex", name), "rb") as f:
        write("MstIndex", name.replace("crash-", ""), f.read())

MST_REAL = zlib.decompress(base64.b64decode(
    "eNrtVs9rJEUUflVd3V3d09PWZEMyomDtbLI7LrL0YFhkEalMj+PoJjBudiGsIAkqtBd/ERbxIJ14GReRCB68KEFEBV1Q"
    "2fMSNQeFPUgOgh68KOYS0IXFgwj6qqt70kwy+g9YUFOvql69qve+772ehe6jneXFpYsETPvhI+/bv979XuVTyNY5wIXO"
    "+WfXZH91be2Zl56TrTPRmSjbX+jGFyiOLNf/jh2c++Tm0qt6nxyxr9uv9NZ7Jxa63UuXL+OQvWNZ69aPeEfRQnJg/+NL"
    "7j3FvFijI3rn8gUL+/LXe/2eZeaDfF8/p3Xjw09H3rE0Lh6/3bj2kx6rpTu9vKfEgRW9ZjnQ1HcyBxI9WqRY4GakpY0x"
    "GhU0TWiTUktarEktW9pOkzquJK50eZNOEoe4jm3R6SsFTLp5J/+oxgDX23pi5N8z+dytUyi78YE8m8mL+/M4zsUH+oW8"
    "1y50jGzOGtvG5tRR0ZjEPp1FQ4DUiOSDo4yDrhmtYu6oIgL/JhhdofLwjbU1qvfftk2ggVpJYLEkYHYS2E4SOG4SuDwJ"
    "uIdr2D0/CSh2qEAlSIKgmgTVMAnCO5Kggj0USSBqSVCbSIKJY7iHfZIhPL7HHNtxucdsVAyrjqhNHKuG03+WUZvcqT4c"
    "u1f6WYR3qqdKcj2+/crZTL72/O32fcv3lxCZKiFSRme3faBTZsJuSTb66/Mz8f7EXfldF4d3uT8+MlxfnX1yqL8mX46L"
    "ez//+cW4eM9O9fWhjpHNXUbfvMHY2R3PnDDvKeEmKwgZBbaWcekwMQ4tuHA6y0TMJy38bZEiscbvIBMkoQizBXSECSRj"
    "g+Se5H6T2hVZCWSlOsxCRqe/KOMZmhivlrIqLuE2V8IqPoRnGR+TqVMlea6UtXFJNnet7D0xks27pey/fogXUyN17zzJ"
    "wTiq/qZKQppltCniGC2AGaYrrKTDj0Wq9CgZFoIWQ/UGAxu3BgwyY/qnm+npWt1BPNGYgChAiaoUUQHKdV1GWFIqB0IX"
    "azxFQehL+ijqJR6BamjFbIZtQ0vUzOdsrix9RuTVX3F8k0Tq8NTKrs6b2Rawjr/me4a3mJFn20o/2If/m9/DsPUUJfA2"
    "TRH/FOFKtxC6fUYRkRbtQL1HEDaxIXL8Z2hrMYXOyZDaFJ4aIGBeA9Y9DGwXw9rYqlxNBwuUtjp3IoWiTfkL4k8Y2j2N"
    "6cieJmH6joX43+2oq1Lj3z9bmd+MlGo/PgfijQdqvQY0+5JFfNKiJ/wv0e7gNbYiNye2H/qA9xHntzYErZM2CLet0Zxt"
    "gPom1W9LFdEoK+azz0BJAdvAuUZck1PyjR7T+Af3PlZ/QTPEx+8DDwA2VUZt0P6Dyv2fYSGeiqgSzZz/hf82tAIMUyMA"
    "9P/4QKL1FR883/jvbxEf+AJFTalSGgm5AnR1Ux9GWm/bivA0teSbdcybnP+R3xZC81+AGERE+4+Galnmka8YPlmTu07T"
    "B3c0/2Ed/edanyrt23FJWS9Fqsv3tzP/2+jZFswj/9Pcf5Msg3rmP8/4j776iMlIneiSPPNG60TxX4iM4VHx76D4G1jU"
    "/EL/HwPuM18="))
real = MST_REAL.split(b"#LFFUZZ#")
write("MstIndex", "real", index_input(real))


def flipped(files, kind, offset):
    out = list(files)
    out[kind] = out[kind][:offset] + bytes([out[kind][offset] ^ 0x10]) + out[kind][offset + 1:]
    return index_input(out)


write("MstIndex", "real-molecule-flipped", flipped(real, 2, 32 + 100))
write("MstIndex", "real-key-flipped", flipped(real, 3, 32 + 256 * 2 + 7))
write("MstIndex", "real-counts-flipped", flipped(real, 4, 32 + 16 * 2 + 4))
write("MstIndex", "real-entry-flipped", flipped(real, 1, 32 + 24 + 16))
write("MstIndex", "real-truncated", index_input(real[:2] + [real[2][:400]] + real[3:]))
