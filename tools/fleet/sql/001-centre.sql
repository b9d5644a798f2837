-- SPDX-FileCopyrightText: 2026 libquor developers
-- SPDX-License-Identifier: Apache-2.0

-- The centre: releases, where each host looks, and what each host says.
--
-- Releases are never changed and their numbers only rise; channels only go forward. Triggers hold that
-- against the owner of the tables too, grants against everybody else. A host's role sees no table: it
-- has three functions, which answer for the host that belongs to session_user.

create schema quor;
create table quor.schema_version (
  version integer primary key,
  at timestamptz not null default now()
);
insert into quor.schema_version (version) values (1);

do $$
declare
  wanted text;
begin
  foreach wanted in array array['quor_publisher', 'quor_host', 'quor_viewer'] loop
    if not exists (select from pg_roles where rolname = wanted) then
      execute format('create role %I nologin', wanted);
    end if;
  end loop;
end $$;

create table quor.release (
  id bigint primary key check (id > 0),
  sha256 text not null check (sha256 ~ '^[0-9a-f]{64}$'),
  document bytea not null,
  document_bytes bigint not null check (document_bytes > 0),
  policies bigint not null check (policies >= 0),
  datastores bigint not null check (datastores >= 0),
  parent bigint,
  author text not null,
  reason text not null check (reason <> ''),
  at timestamptz not null,
  may_empty boolean not null default false,
  may_shrink boolean not null default false,
  signature bytea
);
comment on table quor.release is 'Catalogue documents, zlib-compressed; sha256 is of the uncompressed bytes.';
alter table quor.release alter column document set storage external;  -- compressed already

create table quor.channel (
  name text primary key check (name ~ '^[A-Za-z0-9][A-Za-z0-9._-]{0,62}$'),
  release bigint references quor.release,
  paused boolean not null default false,
  next_release bigint references quor.release,
  next_below integer not null default 0 check (next_below between 0 and 10000)
);
comment on column quor.channel.next_release is
  'What the hosts with quor.place(host, next_release) < next_below are to hold already: the share of a roll-out.';

create table quor.host (
  name text primary key check (name ~ '^[A-Za-z0-9][A-Za-z0-9._-]{0,254}$'),
  channel text not null references quor.channel,
  role text not null unique,
  made_role boolean not null default false,
  added timestamptz not null default now()
);

create table quor.host_status (
  host text primary key references quor.host on delete cascade,
  release bigint,
  sha256 text,
  policies_digest text,
  datastores_digest text,
  state text not null check (state in ('applied', 'refused', 'held', 'drift', 'failed')),
  reason text not null,
  agent_version text not null,
  at timestamptz not null
);
comment on column quor.host_status.release is
  'What the host holds; null before its first release. What it refuses is named in reason.';

create table quor.event (
  id bigint generated always as identity primary key,
  at timestamptz not null default clock_timestamp(),
  author text not null default session_user,
  action text not null,
  release bigint,
  channel text,
  host text,
  detail text not null default ''
);

-- Releases: numbers only rise, the author is who is logged in, nothing is changed afterwards.

create function quor.next_release(wanted_parent bigint) returns bigint
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
declare
  newest bigint;
begin
  lock table quor.release in share row exclusive mode;
  select max(id) into newest from quor.release;
  if newest is distinct from nullif(wanted_parent, 0) then
    raise exception 'the newest release is %, not %', coalesce(newest, 0), coalesce(wanted_parent, 0)
      using errcode = 'QR001';
  end if;
  -- A number that a host has seen is not given again, even where this server has lost the release. What is
  -- far beyond was never given: a host that says so does not use up the numbers.
  return 1 + greatest(coalesce(newest, 0), coalesce((select max(release) from quor.host_status
    where release < coalesce(newest, 0) + 1000000), 0));
end $$;

create function quor.check_release() returns trigger
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
begin
  if new.id <> quor.next_release(new.parent) then
    raise exception 'release %: the next number is %', new.id, quor.next_release(new.parent)
      using errcode = 'QR001';
  end if;
  new.author := session_user;
  new.at := clock_timestamp();
  insert into quor.event (action, release, detail) values ('publish', new.id, new.reason);
  return new;
end $$;
create trigger check_release before insert on quor.release
  for each row execute function quor.check_release();

create function quor.refuse_release_change() returns trigger
language plpgsql set search_path = pg_catalog, pg_temp as $$
begin
  if tg_op = 'DELETE' and current_setting('quor.retention', true) = 'on' then return old; end if;
  raise exception 'releases are never changed: % of quor.release is refused', lower(tg_op)
    using errcode = 'QR002', hint = 'Publish another one; old ones are deleted by quor.retain() alone.';
end $$;
create trigger refuse_release_change before update or delete on quor.release
  for each row execute function quor.refuse_release_change();
create trigger refuse_release_truncate before truncate on quor.release
  for each statement execute function quor.refuse_release_change();

create function quor.retain(keep integer) returns bigint
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
declare
  deleted bigint;
begin
  if keep is null or keep < 1 then
    raise exception 'at least the newest release is kept' using errcode = 'QR003';
  end if;
  lock table quor.release in share row exclusive mode;
  lock table quor.channel, quor.host_status in share mode;
  perform set_config('quor.retention', 'on', true);
  delete from quor.release r
    where r.id not in (select id from quor.release order by id desc limit keep)
      and not exists (select from quor.channel c where r.id in (c.release, c.next_release))
      and not exists (select from quor.host_status s where s.release = r.id);
  get diagnostics deleted = row_count;
  perform set_config('quor.retention', 'off', true);
  if deleted > 0 then
    insert into quor.event (action, detail) values ('retain', format('deleted %s releases', deleted));
  end if;
  return deleted;
end $$;

-- Channels: only forward.

create function quor.check_channel() returns trigger
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
declare
  highest bigint;
begin
  if tg_op = 'UPDATE' then
    highest := greatest(old.release, old.next_release);
    if new.name <> old.name then
      raise exception 'channel %: a channel keeps its name', old.name using errcode = 'QR002';
    end if;
    if (old.release is not null and new.release is null) or new.release < old.release
       or (highest is not null and coalesce(greatest(new.release, new.next_release), 0) < highest)
    then
      raise exception 'channel %: release % is there already, % would go back', old.name, highest,
        coalesce(new.release::text, 'none')
        using errcode = 'QR002', hint = 'Publish the old document as a new release.';
    end if;
  end if;
  if new.next_release <= new.release then
    raise exception 'channel %: the share of a roll-out needs a release above %', new.name, new.release
      using errcode = 'QR002';
  end if;
  if tg_op = 'INSERT' then
    insert into quor.event (action, channel, release) values ('channel add', new.name, new.release);
    return new;
  end if;
  if new.release is distinct from old.release then
    insert into quor.event (action, channel, release, detail)
      values ('promote', new.name, new.release, 'from ' || coalesce(old.release::text, 'nothing'));
  end if;
  if new.next_release is not null
     and (new.next_release, new.next_below) is distinct from (old.next_release, old.next_below) then
    insert into quor.event (action, channel, release, detail)
      values ('share', new.name, new.next_release, (new.next_below / 100.0)::numeric(5, 2) || ' %');
  end if;
  if new.paused <> old.paused then
    insert into quor.event (action, channel, release)
      values (case when new.paused then 'pause' else 'resume' end, new.name, new.release);
  end if;
  return new;
end $$;
create trigger check_channel before insert or update on quor.channel
  for each row execute function quor.check_channel();

-- 0 to 9999, another one for each release, so that it is not always the same hosts that go first.
create function quor.place(host text, release bigint) returns integer
language sql immutable parallel safe as $$
  select ((('x' || substr(md5(release || '/' || host), 1, 8))::bit(32)::bigint & 2147483647) % 10000)::integer
$$;

-- What a host asks and says.

create function quor.head() returns table (host text, channel text, release bigint, sha256 text,
  may_empty boolean, may_shrink boolean, paused boolean, bytes bigint)
language sql stable security definer set search_path = pg_catalog, pg_temp as $$
  select h.name, c.name, r.id, r.sha256, coalesce(r.may_empty, false), coalesce(r.may_shrink, false),
         c.paused, coalesce(octet_length(r.document), 0)::bigint
  from quor.host h
  join quor.channel c on c.name = h.channel
  left join quor.release r on r.id =
    case when quor.place(h.name, c.next_release) < c.next_below then c.next_release else c.release end
  where h.role = session_user
$$;

create function quor.document(release bigint)
returns table (document bytea, sha256 text, signature bytea)
language sql stable security definer set search_path = pg_catalog, pg_temp as $$
  select r.document, r.sha256, r.signature from quor.release r where r.id = $1
$$;

create function quor.report(release bigint, sha256 text, policies_digest text, datastores_digest text,
  state text, reason text, agent_version text) returns void
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
declare
  own text;
begin
  select h.name into own from quor.host h where h.role = session_user;
  if own is null then
    raise exception 'the role % belongs to no host', session_user
      using errcode = 'QR004', hint = 'quor-publish host add NAME --role ROLE names it.';
  end if;
  insert into quor.host_status as s values (own, $1, left($2, 64), left($3, 64), left($4, 64), $5,
      left(coalesce($6, ''), 1000), left(coalesce($7, ''), 64), clock_timestamp())
    on conflict (host) do update set release = excluded.release, sha256 = excluded.sha256,
      policies_digest = excluded.policies_digest, datastores_digest = excluded.datastores_digest,
      state = excluded.state, reason = excluded.reason, agent_version = excluded.agent_version,
      at = excluded.at;
end $$;

-- Hosts.

create function quor.add_host(wanted text, wanted_channel text, wanted_role text) returns boolean
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
declare
  is_new boolean := not exists (select from pg_roles where rolname = wanted_role);
begin
  if is_new then
    execute format('create role %I login in role quor_host', wanted_role);
  elsif not exists (select from pg_auth_members m where m.member = wanted_role::regrole
                    and m.roleid = 'quor_host'::regrole) then
    raise exception 'the role % is not a member of quor_host', wanted_role
      using errcode = 'QR005', hint = format('grant quor_host to %I;', wanted_role);
  end if;
  insert into quor.host (name, channel, role, made_role)
    values (wanted, wanted_channel, wanted_role, is_new);
  insert into quor.event (action, host, channel) values ('host add', wanted, wanted_channel);
  return is_new;
end $$;

create function quor.move_host(wanted text, wanted_channel text) returns boolean
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
begin
  update quor.host set channel = wanted_channel where name = wanted;
  if not found then return false; end if;
  insert into quor.event (action, host, channel) values ('host move', wanted, wanted_channel);
  return true;
end $$;

create function quor.remove_host(wanted text) returns boolean
language plpgsql security definer set search_path = pg_catalog, pg_temp as $$
declare
  gone quor.host;
begin
  delete from quor.host where name = wanted returning * into gone;
  if gone.name is null then return false; end if;
  if gone.made_role then execute format('drop role %I', gone.role); end if;
  insert into quor.event (action, host, channel) values ('host remove', wanted, gone.channel);
  return true;
end $$;

-- What a roll-out did that moved nothing: that it began, and why it stopped.
create function quor.note(action text, release bigint, channel text, detail text) returns void
language sql security definer set search_path = pg_catalog, pg_temp as $$
  insert into quor.event (action, release, channel, detail)
    values ('rollout ' || left($1, 20), $2, left($3, 63), left($4, 2000))
$$;

-- What synchronous_commit waits for. The statistics are hidden from who is not in pg_monitor.
create function quor.synchronous_standbys() returns bigint
language sql stable security definer set search_path = pg_catalog, pg_temp as $$
  select case when current_setting('synchronous_standby_names') = '' then 0
    else (select count(*) from pg_stat_replication
          where state = 'streaming' and sync_state in ('sync', 'quorum')) end
$$;

-- Grants.

revoke all on all functions in schema quor from public;
grant usage on schema quor to quor_publisher, quor_host, quor_viewer;
grant execute on function quor.head(), quor.document(bigint),
  quor.report(bigint, text, text, text, text, text, text) to quor_host;
grant select on all tables in schema quor to quor_publisher, quor_viewer;
grant execute on function quor.place(text, bigint), quor.synchronous_standbys()
  to quor_publisher, quor_viewer;
grant insert (id, sha256, document, document_bytes, policies, datastores, parent, reason, may_empty,
  may_shrink, signature) on quor.release to quor_publisher;
grant insert (name, paused), update (release, paused, next_release, next_below) on quor.channel
  to quor_publisher;
grant execute on function quor.next_release(bigint), quor.retain(integer), quor.add_host(text, text, text),
  quor.move_host(text, text), quor.remove_host(text), quor.note(text, bigint, text, text) to quor_publisher;

insert into quor.channel (name) values ('prod'), ('canary');
