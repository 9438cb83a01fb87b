-- Labfolio 10.0: the offline database.
--
-- Creates LFOffline9, the local copy of the notebook database that a Labfolio client works in
-- while it is cut off from its server, with the notebook's tables. The Multi-User Setup wizard
-- runs this script with osql against the local server and writes its output to LFOffline.log
-- beside it.
--
-- Left to the wizard: access for the offline users. After this script it grants the Windows
-- group of the local users a login, maps it into LFOffline9 as the database user OfflineUsers
-- (sp_grantdbaccess) and adds that user to db_datareader and db_datawriter. The script
-- therefore creates no user or role named OfflineUsers: the wizard's sp_grantdbaccess would
-- then fail with error 15023 (the name already exists in the database).
--
-- An existing LFOffline9 is never dropped here: it may hold work done offline. Remove it with
-- the wizard's "Remove Offline Database" task first; otherwise CREATE DATABASE fails and the
-- log says so.

CREATE DATABASE LFOffline9
GO

USE LFOffline9
GO

CREATE TABLE ELN_people (
  Username nvarchar(255) NOT NULL PRIMARY KEY,
  is_administrator bit NOT NULL DEFAULT 0)

CREATE TABLE ELN_parameters (
  name nvarchar(255) NOT NULL PRIMARY KEY,
  data nvarchar(255) NULL)

CREATE TABLE ELN_chemical_structures (
  primary_key int IDENTITY(1,1) NOT NULL PRIMARY KEY,
  CDXML nvarchar(max) NULL,
  MOL_ID int NULL)

CREATE TABLE ELN_sessions (
  session_key int IDENTITY(1,1) NOT NULL PRIMARY KEY,
  owner_key int NOT NULL,
  client_bias int NULL,
  started datetime NOT NULL,
  ended datetime NULL)
GO

-- Every notebook database carries its own identity.
INSERT INTO ELN_parameters (name, data) VALUES (N'database guid', CONVERT(nvarchar(255), NEWID()))
GO

PRINT 'The offline database LFOffline9 has been created.'
GO
