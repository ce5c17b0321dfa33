-- The schema of the office, which receives the punches of several doors. Running this again upgrades an
-- older schema, and changes nothing else.
BEGIN;
SET LOCAL client_min_messages = warning;

CREATE SCHEMA IF NOT EXISTS tavrel;
DO $$
BEGIN
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'tavrel_door') THEN
        CREATE ROLE tavrel_door NOLOGIN;
    END IF;
END $$;

-- A door is the login role of the same name. The name has the collation of session_user, because with any other
-- one a comparison of the two could not use the indexes.
CREATE TABLE IF NOT EXISTS tavrel.door (
    door text COLLATE "C" PRIMARY KEY,
    identity uuid UNIQUE, -- of the door's database
    zone text, -- of the door's local times
    late interval NOT NULL DEFAULT '15 minutes', -- after which it counts as silent
    last_pass timestamptz -- when the office last had all punches of the door
);

-- No row is ever deleted. `type` is 1 for Clock In and 0 for Clock Out. `place` is that among the rows of the
-- day in the door's database. `withdrawn` is when the door no longer had the punch.
CREATE TABLE IF NOT EXISTS tavrel.punch (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    door text COLLATE "C" NOT NULL REFERENCES tavrel.door,
    badge text NOT NULL,
    type smallint NOT NULL CHECK (type IN (0, 1)),
    -- A door could make the calculations of the views fail with a time at the end of PostgreSQL's range.
    local_time timestamp NOT NULL CHECK (local_time >= '0001-01-01' AND local_time < '10000-01-01'),
    zone text NOT NULL,
    place bigint NOT NULL,
    received timestamptz NOT NULL DEFAULT now(),
    withdrawn timestamptz
);
CREATE INDEX IF NOT EXISTS punch_of_door ON tavrel.punch (door, local_time) WHERE withdrawn IS NULL;
CREATE INDEX IF NOT EXISTS punch_of_badge ON tavrel.punch (badge, local_time) WHERE withdrawn IS NULL;

-- The days that a door has sent: how many punches, and the door's own digest of them.
-- Each pass reads all days of its door. They are scattered over the table, so the index holds all columns.
CREATE TABLE IF NOT EXISTS tavrel.day (
    door text COLLATE "C" REFERENCES tavrel.door,
    day date,
    count bigint NOT NULL,
    digest text NOT NULL,
    PRIMARY KEY (door, day) INCLUDE (count, digest)
);

CREATE TABLE IF NOT EXISTS tavrel.employee (
    badge text PRIMARY KEY CHECK (length(badge) BETWEEN 1 AND 50 AND badge = btrim(badge)),
    name text NOT NULL CHECK (name <> '' AND name = btrim(name))
);

-- The door that has logged in, which must be bound to this database.
CREATE OR REPLACE FUNCTION tavrel.own_door(database uuid) RETURNS tavrel.door
LANGUAGE plpgsql SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    own tavrel.door;
BEGIN
    SELECT * INTO own FROM tavrel.door WHERE door.door = session_user;
    IF NOT FOUND THEN
        RAISE 'The office has no door "%".', session_user
            USING HINT = 'The office''s owner makes it: tavrel-forward door NAME | psql.';
    ELSIF own.identity IS DISTINCT FROM database THEN
        RAISE 'The door "%" is not bound to this database.', session_user
            USING HINT = 'If it is the door''s database, run tavrel-forward adopt.';
    END IF;
    RETURN own;
END $$;

-- Binds the door that has logged in to a database. Returns whether it was bound to a different one.
CREATE OR REPLACE FUNCTION tavrel.adopt(database uuid) RETURNS boolean
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    before tavrel.door;
BEGIN
    SELECT * INTO before FROM tavrel.door WHERE door.door = session_user FOR UPDATE;
    IF NOT FOUND THEN
        RAISE 'The office has no door "%".', session_user
            USING HINT = 'The office''s owner makes it: tavrel-forward door NAME | psql.';
    END IF;
    UPDATE tavrel.door SET identity = database WHERE door.door = session_user;
    RETURN before.identity <> database;
EXCEPTION WHEN unique_violation THEN
    RAISE 'This database is that of another door.'
        USING HINT = 'If that door is no longer used, ask the office''s owner to set its identity in tavrel.door to NULL.';
END $$;

-- Begins a pass. Returns a digest of the days that the door has sent. The abbreviations of zones are those of
-- the office: with others, which a door can choose, it could store a zone that the views do not know.
CREATE OR REPLACE FUNCTION tavrel.greet(database uuid, time_zone text) RETURNS text
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp
SET timezone_abbreviations FROM CURRENT AS $$
DECLARE
    own tavrel.door := tavrel.own_door(database);
    -- AT TIME ZONE takes these names for abbreviations, without summer time.
    new_zone text := CASE time_zone WHEN 'CET' THEN 'Europe/Brussels' WHEN 'MET' THEN 'Europe/Brussels'
        WHEN 'EET' THEN 'Europe/Athens' WHEN 'WET' THEN 'Europe/Lisbon' ELSE time_zone END;
BEGIN
    PERFORM now() AT TIME ZONE new_zone; -- rejects an unknown zone
    UPDATE tavrel.door SET zone = new_zone WHERE door.door = own.door AND zone IS DISTINCT FROM new_zone;
    RETURN (
        SELECT encode(sha256(convert_to(coalesce(
            string_agg(format(E'%s %s %s\n', to_char(day, 'YYYY-MM-DD'), count, digest), '' ORDER BY day), ''), 'UTF8')), 'hex')
        FROM tavrel.day WHERE day.door = session_user);
END $$;

-- Ends a pass after which the office has all punches of the door.
CREATE OR REPLACE FUNCTION tavrel.complete(database uuid) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
BEGIN
    PERFORM tavrel.own_door(database);
    UPDATE tavrel.door SET last_pass = now() WHERE door.door = session_user;
END $$;

-- The days that the door has sent, with the number of its punches that are here now.
CREATE OR REPLACE FUNCTION tavrel.days(database uuid)
RETURNS TABLE (day text, count bigint, digest text)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
#variable_conflict use_column
BEGIN
    PERFORM tavrel.own_door(database);
    RETURN QUERY
        SELECT to_char(day, 'YYYY-MM-DD'), coalesce(here.count, 0), coalesce(sent.digest, '0')
        FROM (SELECT day, digest FROM tavrel.day WHERE door = session_user) AS sent
        FULL JOIN (
            SELECT local_time::date AS day, count(*) FROM tavrel.punch
            WHERE door = session_user AND withdrawn IS NULL GROUP BY 1) AS here USING (day)
        ORDER BY 1;
END $$;

-- Makes the punches of some days equal to those sent: adds what is missing, and withdraws what the door no
-- longer has. `sent_days` is [[day, count, digest], ...], `sent_punches` [[local time, type, badge], ...]:
-- all punches of these days, in the order of the door's rows. Returns the changed days. To compile the
-- statements (jit) takes half a second, longer than all else in a usual pass.
CREATE OR REPLACE FUNCTION tavrel.take(database uuid, sent_days jsonb, sent_punches jsonb)
RETURNS TABLE (day text, added bigint, withdrawn bigint)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp SET jit = off AS $$
#variable_conflict use_column
DECLARE
    own tavrel.door;
BEGIN
    PERFORM FROM tavrel.door WHERE door = session_user FOR UPDATE; -- other passes wait
    own := tavrel.own_door(database);
    RETURN QUERY
        WITH sent_day AS MATERIALIZED (
            SELECT (item->>0)::date AS day, (item->>1)::bigint AS count, item->>2 AS digest
            FROM jsonb_array_elements(sent_days) AS item),
        -- Equal punches are told apart by a number, as a door may have several.
        sent AS (
            SELECT *, row_number() OVER (PARTITION BY local_time::date ORDER BY number) AS place,
                row_number() OVER (PARTITION BY local_time, type, badge ORDER BY number) AS copy
            FROM (
                SELECT (item->>0)::timestamp AS local_time, (item->>1)::smallint AS type,
                    item->>2 AS badge, number
                FROM jsonb_array_elements(sent_punches) WITH ORDINALITY AS list (item, number)) AS item),
        here AS (
            SELECT id, local_time, type, badge, place AS old_place,
                row_number() OVER (PARTITION BY local_time, type, badge ORDER BY id) AS copy
            FROM sent_day CROSS JOIN LATERAL (
                SELECT * FROM tavrel.punch WHERE door = own.door AND withdrawn IS NULL
                    AND local_time >= day AND local_time < day + 1
                OFFSET 0) AS kept), -- so that each day is looked up, whatever the statistics say
        difference AS MATERIALIZED (
            SELECT * FROM sent FULL JOIN here USING (local_time, type, badge, copy)
            WHERE place IS DISTINCT FROM old_place),
        adding AS (
            INSERT INTO tavrel.punch (door, badge, type, local_time, zone, place)
            SELECT own.door, badge, type, local_time, own.zone, place FROM difference WHERE id IS NULL
            ORDER BY number),
        changing AS (
            UPDATE tavrel.punch SET place = coalesce(difference.place, old_place),
                withdrawn = CASE WHEN difference.place IS NULL THEN now() END
            FROM difference WHERE punch.id = difference.id),
        confirming AS (
            INSERT INTO tavrel.day (door, day, count, digest)
            SELECT own.door, day, count, digest FROM sent_day
            ON CONFLICT (door, day) DO UPDATE SET count = excluded.count, digest = excluded.digest)
        SELECT to_char(local_time, 'YYYY-MM-DD'), count(*) FILTER (WHERE id IS NULL),
            count(*) FILTER (WHERE place IS NULL)
        FROM difference GROUP BY 1 ORDER BY 1;

    IF (SELECT coalesce(sum((item->>1)::bigint), 0) FROM jsonb_array_elements(sent_days) AS item)
            <> jsonb_array_length(sent_punches)
        OR EXISTS (
            SELECT FROM jsonb_array_elements(sent_days) AS item
            WHERE (item->>1)::bigint <> (
                SELECT count(*) FROM tavrel.punch
                WHERE door = own.door AND withdrawn IS NULL
                    AND local_time >= (item->>0)::date AND local_time < (item->>0)::date + 1)) THEN
        RAISE 'The punches sent are not those of the days sent; nothing is stored.';
    END IF;
    DELETE FROM tavrel.day WHERE door = own.door AND count = 0;
END $$;

-- The punches of a badge on some days, with the moments of their local times. Those of the hour that comes
-- twice when the clocks go back are in the order of the door's rows: where the time goes back, the second
-- pass of that hour begins.
CREATE OR REPLACE FUNCTION tavrel.moments(of_badge text, first date, last date)
RETURNS TABLE (place bigint, id bigint, door text, type smallint, local_time timestamp,
    moment timestamptz, is_repeated boolean)
LANGUAGE sql STABLE SET search_path = pg_catalog, pg_temp AS $$
    WITH possible AS (
        -- No zone is a day away from UTC, and none changes twice within two days.
        SELECT *, (local_time - interval '1 day') AT TIME ZONE zone + interval '24 hours' AS early,
            (local_time + interval '1 day') AT TIME ZONE zone - interval '24 hours' AS late
        FROM tavrel.punch
        WHERE badge = of_badge AND withdrawn IS NULL AND local_time >= first AND local_time < last + 1),
    judged AS (
        SELECT *, early AT TIME ZONE zone = local_time AS can_be_early,
            late AT TIME ZONE zone = local_time AS can_be_late
        FROM possible),
    followed AS (
        SELECT *, can_be_early AND can_be_late AND early <> late AS is_repeated,
            local_time < lag(local_time) OVER day AS goes_back
        FROM judged
        WINDOW day AS (PARTITION BY door, local_time::date, can_be_early AND can_be_late AND early <> late
            ORDER BY place))
    SELECT place, id, door, type, local_time,
        CASE WHEN is_repeated THEN
                CASE WHEN bool_or(goes_back) OVER day THEN late ELSE early END
            WHEN can_be_late AND NOT can_be_early THEN late
            ELSE early END,
        is_repeated
    FROM followed
    WINDOW day AS (PARTITION BY door, local_time::date, is_repeated ORDER BY place)
$$;

CREATE OR REPLACE VIEW tavrel.named_punch AS
    SELECT door, badge, coalesce(name, 'Unknown') AS name, type, local_time, zone, received
    FROM tavrel.punch LEFT JOIN tavrel.employee USING (badge)
    WHERE withdrawn IS NULL;

-- Who is in: those whose last punch, at any door, is a Clock In.
CREATE OR REPLACE VIEW tavrel.present AS
    SELECT badge, coalesce(name, 'Unknown') AS name, door, local_time AS since,
        CASE WHEN moment > now() THEN CASE type WHEN 1 THEN 'Clock In' ELSE 'Clock Out' END || ' in the future'
            WHEN moment < now() - interval '16 hours' THEN 'likely forgotten Clock Out' ELSE '' END AS remark
    FROM (
        SELECT badge, max(local_time)::date AS last_day FROM tavrel.punch
        WHERE withdrawn IS NULL AND badge <> '' GROUP BY badge) AS one
    CROSS JOIN LATERAL (
        SELECT * FROM tavrel.moments(badge, last_day - 1, last_day) ORDER BY moment DESC, place DESC, id DESC LIMIT 1) AS latest
    LEFT JOIN tavrel.employee USING (badge)
    WHERE type = 1 OR moment > now()
    ORDER BY coalesce(name, 'Unknown') COLLATE "C", badge COLLATE "C";

CREATE OR REPLACE VIEW tavrel.silent_door AS
    SELECT door, last_pass, now() - last_pass AS silent_for FROM tavrel.door
    WHERE last_pass IS NULL OR last_pass < now() - late;

-- The hours of each badge on the days from `first` to `last`: from each Clock In to the badge's next punch,
-- at any door, if that is a Clock Out, counted where it begins. The empty badge belongs to several people.
CREATE OR REPLACE FUNCTION tavrel.hours(first date, last date)
RETURNS TABLE (badge text, name text, hours numeric, longest numeric, unpaired bigint, remark text)
LANGUAGE sql STABLE SET search_path = pg_catalog, pg_temp AS $$
    WITH wanted AS (
        SELECT DISTINCT badge FROM tavrel.punch
        WHERE withdrawn IS NULL AND local_time >= first AND local_time < last + 1),
    -- Until the nearest days with punches before and after.
    bounds AS (
        SELECT badge,
            coalesce((SELECT max(local_time)::date FROM tavrel.punch
                WHERE punch.badge = wanted.badge AND withdrawn IS NULL AND local_time < first), first) AS low,
            coalesce((SELECT min(local_time)::date FROM tavrel.punch
                WHERE punch.badge = wanted.badge AND withdrawn IS NULL AND local_time >= last + 1), last) AS high
        FROM wanted),
    ordered AS (
        SELECT badge, found.*, lag(type) OVER badges AS type_before, lead(type) OVER badges AS type_after,
            lead(moment) OVER badges AS moment_after, lead(is_repeated) OVER badges AS is_repeated_after
        FROM bounds CROSS JOIN LATERAL tavrel.moments(badge, low, high) AS found
        WINDOW badges AS (PARTITION BY badge ORDER BY moment, place, id)),
    judged AS (
        SELECT *, badge <> '' AND type = 1 AND type_after IS NOT DISTINCT FROM 0 AS begins,
            badge <> '' AND type = 0 AND type_before IS NOT DISTINCT FROM 1 AS ends,
            badge <> '' AND type = 1 AND type_after IS NULL AND moment <= now()
                AND moment >= now() - interval '16 hours' AS is_still_in,
            extract(epoch FROM moment_after - moment) AS duration
        FROM ordered
        WHERE local_time >= first AND local_time < last + 1)
    SELECT badge, coalesce(max(name), 'Unknown'),
        round(coalesce(sum(duration) FILTER (WHERE begins), 0) / 3600, 2),
        round(coalesce(max(duration) FILTER (WHERE begins), 0) / 3600, 2),
        count(*) FILTER (WHERE NOT begins AND NOT ends),
        concat_ws(', ',
            CASE WHEN bool_or(is_still_in) THEN 'still in' END,
            CASE WHEN bool_or(NOT ends AND (is_repeated OR begins AND is_repeated_after)) THEN 'repeated hour' END,
            CASE WHEN bool_or(NOT ends AND (moment > now() OR begins AND moment_after > now())) THEN 'in the future' END,
            CASE WHEN badge = '' THEN 'several people' END)
    FROM judged LEFT JOIN tavrel.employee USING (badge)
    GROUP BY badge
    ORDER BY coalesce(max(name), 'Unknown') COLLATE "C", badge COLLATE "C"
$$;

REVOKE ALL ON ALL FUNCTIONS IN SCHEMA tavrel FROM PUBLIC;
GRANT USAGE ON SCHEMA tavrel TO tavrel_door;
GRANT EXECUTE ON FUNCTION tavrel.adopt, tavrel.greet, tavrel.days, tavrel.take, tavrel.complete TO tavrel_door;
GRANT SELECT ON tavrel.employee TO tavrel_door;
COMMIT;
