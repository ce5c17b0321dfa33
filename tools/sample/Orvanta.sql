-- The sample time database: the tables that the clock uses, a dozen employees, no punches.
-- Badge numbers are texts, so that 00123 stays 00123.

CREATE TABLE RawData (
    ID INTEGER NOT NULL,
    RecordCount INTEGER,
    DateTime DATETIME,
    DownloadResult VARCHAR(50)
);

CREATE TABLE RawDataDetails (
    ID INTEGER NOT NULL,
    PersonalID VARCHAR(50) NOT NULL,
    EventStatus SMALLINT NOT NULL,
    DateTime DATETIME NOT NULL,
    Shift SMALLINT NOT NULL DEFAULT 0,
    MachineNo SMALLINT NOT NULL DEFAULT 0
);

CREATE TABLE Employee (
    PersonalID VARCHAR(50) NOT NULL PRIMARY KEY,
    Name VARCHAR(100) NOT NULL
);

INSERT INTO Employee (PersonalID, Name) VALUES
    ('1001', 'Mara Lindqvist'),
    ('1002', 'Tomas Oyelaran'),
    ('1003', 'Ines Carvalho'),
    ('1004', 'Bram de Wit'),
    ('1005', 'Aiko Tanabe'),
    ('1006', 'Pavel Dvorsky'),
    ('1007', 'Siobhan Keane'),
    ('1008', 'Luis Montero'),
    ('1009', 'Hanna Virtanen'),
    ('1010', 'Ravi Chandran'),
    ('1011', 'Greta Sommer'),
    ('00123', 'Noor Haddad');
