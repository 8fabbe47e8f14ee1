// SQL helper functions of the PostgreSQL backend. See pg_sql_functions.h;
// the accepted forms and results are those of sql_functions.h.
#include "host/pg_sql_functions.h"

namespace host {

namespace {

// The accepted forms, as one pattern: a day, then optionally ' ', '-' or
// 'T' and HH, ':' or '.', MM, optionally ':' or '.' and SS, optionally '.'
// or ',' and at least one fraction digit. Blanks around are allowed.
constexpr std::string_view kFunctions = R"sql(
CREATE OR REPLACE FUNCTION lev_stamp_parts(t text, fname text) RETURNS int[]
LANGUAGE plpgsql IMMUTABLE AS $$
DECLARE
  m text[];
  y int; mo int; d int; h int := 0; mi int := 0; s int := 0; us int := 0;
BEGIN
  m := regexp_match(t, '^ *([0-9]{4})-([0-9]{2})-([0-9]{2})(?:[ T-]([0-9]{2})[:.]([0-9]{2})(?:[:.]([0-9]{2})(?:[.,]([0-9]+))?)?)? *$');
  IF m IS NULL THEN
    RAISE EXCEPTION '%: not a time stamp: ''%''', fname, substr(t, 1, 40);
  END IF;
  y := m[1]::int; mo := m[2]::int; d := m[3]::int;
  IF m[4] IS NOT NULL THEN h := m[4]::int; mi := m[5]::int; END IF;
  IF m[6] IS NOT NULL THEN s := m[6]::int; END IF;
  IF m[7] IS NOT NULL THEN us := rpad(substr(m[7], 1, 6), 6, '0')::int; END IF;
  IF mo < 1 OR mo > 12 OR d < 1 OR d > 31 OR h > 23 OR mi > 59 OR s > 59 THEN
    RAISE EXCEPTION '%: not a time stamp: ''%''', fname, substr(t, 1, 40);
  END IF;
  RETURN ARRAY[y, mo, d, h, mi, s, us];
END $$;

CREATE OR REPLACE FUNCTION lev_julian(y bigint, mo bigint, d bigint) RETURNS bigint
LANGUAGE sql IMMUTABLE AS $$
  SELECT d + (153 * (mo + 12 * ((14 - mo) / 12) - 3) + 2) / 5
         + 365 * (y + 4800 - (14 - mo) / 12)
         + (y + 4800 - (14 - mo) / 12) / 4
         - (y + 4800 - (14 - mo) / 12) / 100
         + (y + 4800 - (14 - mo) / 12) / 400 - 32045
$$;

CREATE OR REPLACE FUNCTION lev_stamp_micros(p int[]) RETURNS bigint
LANGUAGE sql IMMUTABLE AS $$
  SELECT (lev_julian(p[1], p[2], p[3]) * 86400 + p[4] * 3600 + p[5] * 60 + p[6])::bigint
         * 1000000 + p[7]
$$;

CREATE OR REPLACE FUNCTION lev_stamp_text(p int[]) RETURNS text
LANGUAGE sql IMMUTABLE AS $$
  SELECT lpad(p[1]::text, 4, '0') || '-' || lpad(p[2]::text, 2, '0') || '-' ||
         lpad(p[3]::text, 2, '0') || ' ' || lpad(p[4]::text, 2, '0') || ':' ||
         lpad(p[5]::text, 2, '0') || ':' || lpad(p[6]::text, 2, '0') || '.' ||
         lpad(p[7]::text, 6, '0')
$$;

CREATE OR REPLACE FUNCTION NAV_ORASTD_DB2TIMESTAMP(x text) RETURNS text
LANGUAGE sql IMMUTABLE STRICT AS $$
  SELECT lev_stamp_text(lev_stamp_parts(x, 'NAV_ORASTD_DB2TIMESTAMP'))
$$;

CREATE OR REPLACE FUNCTION NAV_ORASTD_DB2TIMESTAMP(day text, clock text) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT AS $$
DECLARE
  p int[] := lev_stamp_parts(day, 'NAV_ORASTD_DB2TIMESTAMP');
  m text[];
  us int := 0;
BEGIN
  -- HH:MM[:SS[.f]], ':' or '.' between the parts, as in a time stamp.
  m := regexp_match(clock, '^ *([0-9]{2})[:.]([0-9]{2})(?:[:.]([0-9]{2})(?:[.,]([0-9]+))?)? *$');
  IF m IS NULL OR m[1]::int > 23 OR m[2]::int > 59 OR COALESCE(m[3], '0')::int > 59 THEN
    RAISE EXCEPTION 'NAV_ORASTD_DB2TIMESTAMP: not a time stamp: ''%''', substr(clock, 1, 40);
  END IF;
  IF m[4] IS NOT NULL THEN us := rpad(substr(m[4], 1, 6), 6, '0')::int; END IF;
  RETURN lev_stamp_text(ARRAY[p[1], p[2], p[3], m[1]::int, m[2]::int,
                              COALESCE(m[3], '0')::int, us]);
END $$;

CREATE OR REPLACE FUNCTION NAV_ORASTD_DB2TIMESTAMPDIFF(code bigint, a text, b text)
RETURNS bigint LANGUAGE plpgsql IMMUTABLE STRICT AS $$
DECLARE
  unit bigint;
BEGIN
  unit := CASE code WHEN 1 THEN 1 WHEN 2 THEN 1000000 WHEN 4 THEN 60000000
                    WHEN 8 THEN 3600000000 WHEN 16 THEN 86400000000
                    WHEN 32 THEN 604800000000 END;
  IF unit IS NULL THEN
    RAISE EXCEPTION 'NAV_ORASTD_DB2TIMESTAMPDIFF: unsupported interval code';
  END IF;
  -- bigint division truncates toward zero, as C++ does.
  RETURN (lev_stamp_micros(lev_stamp_parts(a, 'NAV_ORASTD_DB2TIMESTAMPDIFF')) -
          lev_stamp_micros(lev_stamp_parts(b, 'NAV_ORASTD_DB2TIMESTAMPDIFF'))) / unit;
END $$;

CREATE OR REPLACE FUNCTION NAV_ORASTD_JULIAN_DAY(x text) RETURNS bigint
LANGUAGE plpgsql IMMUTABLE STRICT AS $$
DECLARE
  p int[] := lev_stamp_parts(x, 'NAV_ORASTD_JULIAN_DAY');
BEGIN
  RETURN lev_julian(p[1], p[2], p[3]);
END $$;

CREATE OR REPLACE FUNCTION NAV_STPU_BIT_OR(a bigint, b bigint) RETURNS bigint
LANGUAGE sql IMMUTABLE AS $$
  SELECT COALESCE(a, 0) | COALESCE(b, 0)
$$;

CREATE OR REPLACE FUNCTION BITAND(a bigint, b bigint) RETURNS bigint
LANGUAGE sql IMMUTABLE STRICT AS $$
  SELECT a & b
$$;

CREATE OR REPLACE FUNCTION SYSTIMESTAMP() RETURNS text
LANGUAGE sql VOLATILE AS $$
  SELECT COALESCE(NULLIF(current_setting('leveler.fixed_time', true), ''),
                  to_char(clock_timestamp(), 'YYYY-MM-DD HH24:MI:SS.US'))
$$;
)sql";

}  // namespace

std::string_view pgSqlFunctionsDdl() { return kFunctions; }

}  // namespace host
