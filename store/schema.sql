-- The tables of the time database, as the clock uses them. Kept inside each statement, the
-- comments stay in the database and are shown by .schema of SQLite's own shell.

CREATE TABLE RawData (
    -- A batch of punches. The clock adds to the first that it marked itself, and makes one when
    -- there is none.
    ID INTEGER NOT NULL,        -- number of the batch, 0 to 32767
    RecordCount INTEGER,        -- how many punches the clock has added to it
    DateTime DATETIME,          -- when it last did: local time, YYYY-MM-DD HH:MM:SS
    DownloadResult VARCHAR(50)  -- where the batch comes from: MSR is the clock's own mark
);

CREATE INDEX "RawData.DownloadResult" ON RawData (
    -- The clock looks for its own mark at each punch.
    DownloadResult
);

CREATE TABLE RawDataDetails (
    -- A punch.
    ID INTEGER NOT NULL,             -- ID of its batch in RawData, the same for all punches of it
    PersonalID VARCHAR(50) NOT NULL, -- badge number: a text, so that 00123 stays 00123
    EventStatus SMALLINT NOT NULL,   -- 1 is clock in, 0 is clock out
    DateTime DATETIME NOT NULL,      -- moment of the punch: local time, YYYY-MM-DD HH:MM:SS
    Shift SMALLINT NOT NULL DEFAULT 0,    -- always 0
    MachineNo SMALLINT NOT NULL DEFAULT 0 -- always 0
);

CREATE TABLE Employee (
    -- Who owns a badge. The clock only reads here; a badge without a row punches as Unknown.
    PersonalID VARCHAR(50) NOT NULL PRIMARY KEY, -- badge number: a text, as in RawDataDetails
    Name VARCHAR(100) NOT NULL                   -- shown at a swipe
);
