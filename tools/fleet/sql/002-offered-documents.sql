-- SPDX-FileCopyrightText: 2026 libquor developers
-- SPDX-License-Identifier: Apache-2.0

-- A host's role gets the documents up to the release that it is offered. What is published and not yet
-- promoted to its channel stays with the publishers.

create function quor.offered(host quor.host) returns bigint
language sql stable set search_path = pg_catalog, pg_temp as $$
  select case when quor.place(host.name, c.next_release) < c.next_below then c.next_release else c.release end
  from quor.channel c where c.name = host.channel
$$;
revoke all on function quor.offered(quor.host) from public;
grant execute on function quor.offered(quor.host) to quor_publisher, quor_viewer;

create or replace function quor.head() returns table (host text, channel text, release bigint, sha256 text,
  may_empty boolean, may_shrink boolean, paused boolean, bytes bigint)
language sql stable security definer set search_path = pg_catalog, pg_temp as $$
  select h.name, c.name, r.id, r.sha256, coalesce(r.may_empty, false), coalesce(r.may_shrink, false),
         c.paused, coalesce(octet_length(r.document), 0)::bigint
  from quor.host h
  join quor.channel c on c.name = h.channel
  left join quor.release r on r.id = quor.offered(h)
  where h.role = session_user
$$;

create or replace function quor.document(release bigint)
returns table (document bytea, sha256 text, signature bytea)
language sql stable security definer set search_path = pg_catalog, pg_temp as $$
  select r.document, r.sha256, r.signature
  from quor.release r
  join quor.host h on h.role = session_user
  where r.id = $1 and r.id <= quor.offered(h)
$$;

insert into quor.schema_version (version) values (2);
