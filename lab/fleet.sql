-- What a database knows of many recordings. The lines of `lanternix-lab report --jsonl` are in a table of one column,
-- line(json); docs/fleet.md shows how they get there. To be read again after each import.

DROP TABLE IF EXISTS recording;
DROP TABLE IF EXISTS figure;

-- A recording in a row. Its day comes from the name that `lanternix-lab record` gives it.
CREATE TABLE recording AS
SELECT rowid AS id,
       json ->> '$.file' AS file,
       date(substr(json ->> '$.file', instr(json ->> '$.file', 'lanternix-2') + 10, 10)) AS day,
       json ->> '$.duration_s' AS seconds,
       json ->> '$.boards[0].info' AS board,
       replace(trim(json ->> '$.driver.version', '[]'), ',', '.') AS driver
FROM line;

-- A figure of a recording in a row, if it could be measured.
CREATE TABLE figure AS
SELECT line.rowid AS recording, each.key AS key, each.value ->> '$.value' AS value, each.value ->> '$.unit' AS unit,
       each.value ->> '$.score' AS score, each.value ->> '$.verdict' AS verdict
FROM line, json_each(line.json, '$.figures') AS each
WHERE each.value ->> '$.value' IS NOT NULL;

CREATE UNIQUE INDEX recording_id ON recording (id);
CREATE INDEX figure_key ON figure (key, recording);

-- The worst boards: those that fail most, and by most.
CREATE VIEW IF NOT EXISTS worst_boards AS
SELECT file, count(*) AS failed, round(sum(1 - score), 2) AS lost_score, group_concat(key, ' ') AS what
FROM figure JOIN recording ON recording = id WHERE verdict = 'fail'
GROUP BY id ORDER BY lost_score DESC, failed DESC, file;

-- Which figure fails most.
CREATE VIEW IF NOT EXISTS failing_figures AS
SELECT key, count(*) AS failed, round(100.0 * count(*) / (SELECT count(*) FROM recording), 1) AS percent
FROM figure WHERE verdict = 'fail'
GROUP BY key ORDER BY failed DESC, key;

-- Every figure by the version of the driver.
CREATE VIEW IF NOT EXISTS by_driver AS
SELECT driver, key, count(*) AS recordings, round(avg(value), 3) AS mean, min(value) AS lowest, max(value) AS highest,
       sum(verdict = 'fail') AS failed
FROM figure JOIN recording ON recording = id
GROUP BY driver, key ORDER BY key, driver;

-- How a figure drifts from week to week.
CREATE VIEW IF NOT EXISTS by_week AS
SELECT strftime('%Y-%W', day) AS week, key, count(*) AS recordings, round(avg(value), 3) AS mean,
       sum(verdict = 'fail') AS failed
FROM figure JOIN recording ON recording = id
GROUP BY week, key ORDER BY key, week;
