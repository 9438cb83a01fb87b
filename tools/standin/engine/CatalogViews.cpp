#include "CatalogViews.h"

#include "Statement.h"

namespace standin {
namespace {

std::string replaceAll(std::string text, const std::string& from, const std::string& to)
{
    for (size_t p = text.find(from); p != std::string::npos; p = text.find(from, p + to.size()))
        text.replace(p, from.size(), to);
    return text;
}

std::string sqlString(const std::string& s)
{
    return "'" + replaceAll(s, "'", "''") + "'";
}

} // namespace

std::string systemViewSql(const std::string& schema, const std::string& name,
                          const std::string& databaseSchema, const std::string& databaseName)
{
    std::string sql;
    const bool sys = schema == "SYS" || schema.empty() || schema == "DBO";
    const std::string dbIdCall = databaseName.empty() ? "db_id()" : "db_id(" + sqlString(databaseName) + ")";
    if (schema == "SYS" && name == "DATABASES") {
        sql = "SELECT * FROM {M}.lf_databases";
    } else if (schema == "SYS" && name == "MASTER_FILES") {
        sql = "SELECT database_id, file_id, file_guid, type, type_desc, data_space_id, name, physical_name, "
              "state, "
              "state_desc, lf_pages(physical_name) AS size, max_size, growth, is_percent_growth FROM "
              "{M}.lf_master_files";
    } else if (schema == "SYS" && name == "DATABASE_FILES") {
        sql = "SELECT file_id, file_guid, type, type_desc, data_space_id, name, physical_name, state, "
              "state_desc, "
              "lf_pages(physical_name) AS size, max_size, growth, is_percent_growth FROM {M}.lf_master_files "
              "WHERE database_id = " +
              dbIdCall;
    } else if (schema == "SYS" && name == "SERVER_PRINCIPALS") {
        sql = "SELECT name, principal_id, sid, type, type_desc, is_disabled, create_date, modify_date, "
              "default_database_name, default_language_name FROM {M}.lf_server_principals";
    } else if (schema == "SYS" && name == "SQL_LOGINS") {
        sql = "SELECT name, principal_id, sid, type, type_desc, is_disabled, create_date, modify_date, "
              "default_database_name, default_language_name FROM {M}.lf_server_principals WHERE type = 'S'";
    } else if (schema == "SYS" && name == "SERVER_ROLE_MEMBERS") {
        sql = "SELECT role_principal_id, member_principal_id FROM {M}.lf_server_role_members";
    } else if (sys && (name == "SYSLOGINS" || name == "SYSLOGINS")) {
        sql =
            "SELECT p.sid AS sid, p.create_date AS createdate, p.modify_date AS updatedate, p.name AS name, "
            "p.default_database_name AS dbname, p.name AS loginname, (p.type IN ('U','G')) AS isntname, "
            "(p.type = 'G') AS isntgroup, (p.type = 'U') AS isntuser, "
            "EXISTS (SELECT 1 FROM {M}.lf_server_role_members m WHERE m.member_principal_id = p.principal_id "
            "AND "
            "m.role_principal_id = 3) AS sysadmin, "
            "EXISTS (SELECT 1 FROM {M}.lf_server_role_members m WHERE m.member_principal_id = p.principal_id "
            "AND "
            "m.role_principal_id = 9) AS dbcreator "
            "FROM {M}.lf_server_principals p WHERE p.type IN ('S','U','G')";
    } else if (sys && name == "SYSOBJECTS") {
        // SQL Server 2000's view of objects, which generated scripts still test before DROP.
        sql = "SELECT name, rootpage AS id, CASE type WHEN 'table' THEN 'U' ELSE 'V' END AS xtype, "
              "CASE type WHEN 'table' THEN 'U' ELSE 'V' END AS type, 1 AS uid, 0 AS parent_obj "
              "FROM {D}.sqlite_master WHERE type IN ('table','view') AND name NOT LIKE 'lf\\_%' ESCAPE '\\' "
              "AND "
              "name NOT LIKE 'sqlite\\_%' ESCAPE '\\' UNION ALL SELECT name, 1000000000 + rowid, 'P', 'P', "
              "1, 0 "
              "FROM {D}.lf_procedures";
    } else if (sys && name == "SYSUSERS") {
        sql = "SELECT principal_id AS uid, name, sid, (type = 'R') AS issqlrole, (type = 'S') AS issqluser, "
              "(type IN ('U','G')) AS isntname, (type = 'G') AS isntgroup, (type = 'U') AS isntuser, "
              "(type <> 'R') AS hasdbaccess, create_date AS createdate, modify_date AS updatedate "
              "FROM {D}.lf_database_principals";
    } else if (sys && name == "SYSMEMBERS") {
        sql = "SELECT member_principal_id AS memberuid, role_principal_id AS groupuid FROM "
              "{D}.lf_database_role_members";
    } else if (schema == "SYS" && name == "PROCEDURES") {
        sql = "SELECT name, 1000000000 + rowid AS object_id, 1 AS schema_id, 'P' AS type, "
              "'SQL_STORED_PROCEDURE' AS type_desc, create_date, modify_date FROM {D}.lf_procedures";
    } else if (sys && name == "SYSDATABASES") {
        sql = "SELECT d.name AS name, d.database_id AS dbid, d.owner_sid AS sid, d.create_date AS crdate, "
              "d.compatibility_level AS cmptlevel, f.physical_name AS filename FROM {M}.lf_databases d "
              "LEFT JOIN {M}.lf_master_files f ON f.database_id = d.database_id AND f.file_id = 1";
    } else if (schema == "SYS" && name == "DATABASE_PRINCIPALS") {
        sql = "SELECT name, principal_id, type, type_desc, default_schema_name, create_date, modify_date, "
              "owning_principal_id, sid, is_fixed_role FROM {D}.lf_database_principals";
    } else if (schema == "SYS" && name == "DATABASE_ROLE_MEMBERS") {
        sql = "SELECT role_principal_id, member_principal_id FROM {D}.lf_database_role_members";
    } else if (schema == "SYS" && name == "DATABASE_PERMISSIONS") {
        sql =
            "SELECT class, class_desc, major_id, minor_id, grantee_principal_id, grantor_principal_id, type, "
            "permission_name, state, state_desc FROM {D}.lf_database_permissions";
    } else if (schema == "SYS" && (name == "TABLES" || name == "OBJECTS")) {
        sql = "SELECT name, rootpage AS object_id, NULL AS principal_id, 1 AS schema_id, 0 AS "
              "parent_object_id, "
              "CASE type WHEN 'table' THEN 'U' ELSE 'V' END AS type, "
              "CASE type WHEN 'table' THEN 'USER_TABLE' ELSE 'VIEW' END AS type_desc FROM {D}.sqlite_master "
              "WHERE type IN ('table','view') AND name NOT LIKE 'lf\\_%' ESCAPE '\\' AND name NOT LIKE "
              "'sqlite\\_%' ESCAPE '\\'";
        if (name == "TABLES")
            sql += " AND type = 'table'";
    } else if (schema == "INFORMATION_SCHEMA" && name == "TABLES") {
        sql = "SELECT " + (databaseName.empty() ? std::string("lf_db_name()") : sqlString(databaseName)) +
              " AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, name AS TABLE_NAME, CASE type WHEN 'table' THEN "
              "'BASE TABLE' ELSE 'VIEW' END AS TABLE_TYPE FROM {D}.sqlite_master WHERE type IN "
              "('table','view') "
              "AND name NOT LIKE 'lf\\_%' ESCAPE '\\' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'";
    } else if (schema == "INFORMATION_SCHEMA" && name == "COLUMNS") {
        sql = "SELECT " + (databaseName.empty() ? std::string("lf_db_name()") : sqlString(databaseName)) +
              " AS TABLE_CATALOG, 'dbo' AS TABLE_SCHEMA, m.name AS TABLE_NAME, p.name AS COLUMN_NAME, "
              "p.cid + 1 AS ORDINAL_POSITION, p.dflt_value AS COLUMN_DEFAULT, "
              "CASE WHEN p.\"notnull\" OR p.pk THEN 'NO' ELSE 'YES' END AS IS_NULLABLE, "
              "lf_type_name(p.type) AS DATA_TYPE, lf_type_length(p.type) AS CHARACTER_MAXIMUM_LENGTH "
              "FROM {D}.sqlite_master m JOIN pragma_table_info(m.name, '{S}') p "
              "WHERE m.type IN ('table','view') AND m.name NOT LIKE 'lf\\_%' ESCAPE '\\' AND m.name NOT LIKE "
              "'sqlite\\_%' ESCAPE '\\'";
    } else {
        return "";
    }
    sql = replaceAll(sql, "{M}", "\"" + masterPlaceholder() + "\"");
    sql = replaceAll(sql, "{D}", "\"" + databaseSchema + "\"");
    sql = replaceAll(sql, "{S}", databaseSchema);
    return sql;
}

} // namespace standin
