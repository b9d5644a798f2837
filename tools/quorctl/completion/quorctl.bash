# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# shellcheck shell=bash
# Completion of quorctl in bash. Identifiers, names, URLs and numbers come from the catalogue of this
# host, asked for by the quorctl that is being typed.
#
# What is typed is never evaluated, and what comes from the catalogue is quoted before it is put on
# the command line. Values that hold control characters, or are not UTF-8, are not offered: the shell
# would show them on the terminal as they are.

# Splits the command line up to the cursor as the shell would, without expanding anything:
#   _quorctl_words  the words without their quotes, the last one being that at the cursor
#   _quorctl_quote  the quote that is open at the cursor, or nothing
#   _quorctl_kept   how many characters of the last word stay as they are: readline replaces what is
#                   behind an open quote or behind the last of the characters that break words
#   _quorctl_redirects  whether that word is the file of a redirection; those are left out otherwise
_quorctl_split() {
  local line=${COMP_LINE:0:COMP_POINT} word='' inside='' character i
  local kept_before=0
  _quorctl_words=() _quorctl_quote='' _quorctl_kept=0 _quorctl_redirects=''
  for ((i = 0; i < ${#line}; i++)); do
    character=${line:i:1}
    if [[ $_quorctl_quote ]]; then
      if [[ $character == "$_quorctl_quote" ]]; then
        _quorctl_quote=''
        _quorctl_kept=$kept_before
      elif [[ $character == \\ && $_quorctl_quote == '"' && ${line:i+1:1} == [\\\"\$\`] ]]; then
        word+=${line:$((++i)):1}
      else
        word+=$character
      fi
      continue
    fi
    case $character in
      [[:space:]])
        if [[ $inside ]]; then
          [[ $_quorctl_redirects ]] || _quorctl_words+=("$word")
          _quorctl_redirects=''
        fi
        word='' inside='' _quorctl_kept=0
        continue
        ;;
      [\<\>])
        [[ ! $inside || $word == +([0-9]) || $_quorctl_redirects ]] || _quorctl_words+=("$word")
        word='' inside='' _quorctl_kept=0 _quorctl_redirects=yes
        continue
        ;;
      \\) word+=${line:$((++i)):1} ;;
      [\'\"])
        kept_before=$_quorctl_kept
        _quorctl_quote=$character
        _quorctl_kept=${#word}
        ;;
      *)
        word+=$character
        [[ $COMP_WORDBREAKS != *"$character"* ]] || _quorctl_kept=${#word}
        ;;
    esac
    inside=yes
  done
  _quorctl_words+=("$word")
}

# Sets _quorctl_text to the value as it is to stand on the command line; fails where it cannot.
_quorctl_quoted() {
  _quorctl_text=$1
  case $_quorctl_quote in
    \') _quorctl_text=${1//\'/"'\\''"} ;;
    \")
      [[ $1 != *'!'* ]] || return 1 # a shell with a history would replace it
      _quorctl_text=${_quorctl_text//\\/\\\\}
      _quorctl_text=${_quorctl_text//\"/'\"'}
      _quorctl_text=${_quorctl_text//\$/'\$'}
      _quorctl_text=${_quorctl_text//\`/'\`'}
      ;;
    *)
      [[ ! $1 ]] || printf -v _quorctl_text %q "$1"
      _quorctl_text=${_quorctl_text//\\,/,} # nothing to the shell where no brace is
      ;;
  esac
}

# Offers those of the values that a command takes as an argument here: one that begins with a dash
# would be an option, unless "--" was typed.
_quorctl_offer_arguments() {
  local value
  for value; do
    [[ ! $ended && $value == -* ]] || _quorctl_offer '' "$value"
  done
}

# Offers those of the values that go on from what is typed. $1 stands before each of them already.
_quorctl_offer() {
  local before=$1 value typed=${_quorctl_words[-1]}
  shift
  for value; do
    value=$before$value
    [[ ${value:0:${#typed}} == "$typed" ]] || continue
    _quorctl_quoted "${value:_quorctl_kept}" && COMPREPLY+=("$_quorctl_text")
  done
}

# Sets _quorctl_values to one field of every record that the command lists.
_quorctl_ask() {
  local field=$1 line root
  local -a command=("${_quorctl_words[0]/#~\//~/}")
  shift
  root=$(_quorctl_option_value --root)
  [[ ! $root ]] || command+=(--root "${root/#~\//~/}")
  _quorctl_values=()
  while IFS= read -r line; do
    line=${line#"{\"$field\":"}
    line=${line%\}}
    if [[ $line == \"*\" ]]; then
      line=${line:1:${#line}-2}
      # What is left of the escapes stands for what should not be shown.
      line=${line//\\\\/$'\001'}
      line=${line//'\"'/\"}
      [[ $line != *\\* ]] || continue
      line=${line//$'\001'/\\}
    elif [[ $line != +([0-9]) ]]; then
      continue # no text: an object with its bytes
    fi
    [[ ! $line ]] || _quorctl_values+=("$line")
  done < <("${command[@]}" "$@" -o jsonl --fields "$field" 2>/dev/null </dev/null)
}

# Prints the value of an option that was typed before.
_quorctl_option_value() {
  local i
  for ((i = 1; i < ${#_quorctl_words[@]} - 1; i++)); do
    case ${_quorctl_words[i]} in
      "$1") printf '%s' "${_quorctl_words[i + 1]}" ;;
      "$1="*) printf '%s' "${_quorctl_words[i]#*=}" ;;
    esac
  done
}

# The options of a command; of every command without one.
_quorctl_options() {
  local output='-o --output --fields --sort --where --no-headings' change='-y --yes --dry-run --check -q --quiet -o --output --no-history --replace-damaged --expect'
  case $1 in
    list | diff | history) echo "$output" ;;
    get) echo "--name $output" ;;
    check) echo "--severity --verbose $output" ;;
    blob) echo '--policy-id --policy-name --datastore --default-of --out --raw' ;;
    explain) echo '--policy-id' ;;
    digest) echo '-o --output --expect' ;;
    watch) echo '--period --exec' ;;
    apply) echo "--policies-only --datastores-only --force --create --resume $change" ;;
    set) echo "--blob --no-blob $change" ;;
    add) echo "--blob $change" ;;
    rename) echo "--defaults $change" ;;
    delete | reset) echo "$change" ;;
    restore) echo "--last $change" ;;
    migrate) echo "--to $change" ;;
    switch) echo '--yes' ;;
  esac
  echo '--root -h --help --version'
}

# The fields that --fields and --sort of a command know. $2: what it lists.
_quorctl_fields() {
  case $1 in
    list | get)
      case $2 in
        polic*) echo id name description generation blobs blobBytes ;;
        datastore*) echo url namespace defaultPolicy defaultPolicyName defaultBlobBytes ;;
      esac
      ;;
    check) echo severity subject problem advice ;;
    diff) echo change kind name id fields values ;;
    history)
      echo number time reason store policies datastores policyDigest datastoreDigest path
      ;;
  esac
}

# Whether a word is an option that takes a value.
_quorctl_takes_value() {
  case $1 in
    --root | -o | --output | --fields | --sort | --where | --severity | --blob | --no-blob | --name | --policy-id | --policy-name | --datastore | \
      --default-of | --out | --expect | --period | --exec | --to) return 0 ;;
  esac
  return 1
}

# Completes the value of option $1, behind $2, of command $3 on a kind $4 of records.
_quorctl_complete_value() {
  local list typed
  case $1 in
    --root) compopt -o dirnames 2>/dev/null ;;
    --out) compopt -o default 2>/dev/null ;;
    -o | --output)
      case $3 in
        list | get) list='table wide name json jsonl csv csv-raw' ;;
        diff | check | history) list='table wide json jsonl csv csv-raw' ;;
        *) list='table json' ;;
      esac
      # shellcheck disable=SC2086
      _quorctl_offer "$2" $list
      ;;
    --severity) _quorctl_offer "$2" error warning ;;
    --fields | --sort | --where)
      typed=${_quorctl_words[-1]#"$2"}
      list=''
      [[ $typed != *,* ]] || list=${typed%,*},
      typed=${typed##*,}
      [[ $1 != --sort || $typed != -* ]] || list+=-
      compopt -o nospace 2>/dev/null
      # shellcheck disable=SC2046
      _quorctl_offer "$2$list" $(_quorctl_fields "$3" "$4")
      ;;
    --name | --policy-name)
      _quorctl_ask name list policies
      _quorctl_offer "$2" "${_quorctl_values[@]}"
      ;;
    --policy-id)
      _quorctl_ask id list policies
      _quorctl_offer "$2" "${_quorctl_values[@]}"
      ;;
    --datastore | --default-of)
      _quorctl_ask url list datastores
      _quorctl_offer "$2" "${_quorctl_values[@]}"
      ;;
    --to) _quorctl_offer "$2" store file ;;
  esac
}

# Completes the word that is the argument number $2 of command $1; $3 is the first argument.
_quorctl_complete_argument() {
  case $1:$2:$3 in
    list:1:*) _quorctl_offer '' policies datastores ;;
    get:1:*) _quorctl_offer '' policies datastores policy datastore ;;
    set:1:* | add:1:* | delete:1:* | rename:1:*) _quorctl_offer '' policy datastore ;;
    list:*:polic* | get:*:polic* | set:2:polic* | delete:2:polic* | rename:2:polic*)
      _quorctl_ask id list policies
      _quorctl_offer_arguments "${_quorctl_values[@]}"
      ;;
    list:*:datastore* | get:*:datastore* | set:2:datastore* | delete:2:datastore* | \
      rename:2:datastore* | explain:1:*)
      _quorctl_ask url list datastores
      _quorctl_offer_arguments "${_quorctl_values[@]}"
      ;;
    diff:1:* | apply:1:*) compopt -o default 2>/dev/null ;;
    restore:1:*)
      _quorctl_ask number history
      _quorctl_offer '' "${_quorctl_values[@]}"
      ;;
    switch:1:*) _quorctl_offer '' store file ;;
    help:1:*)
      # shellcheck disable=SC2086
      _quorctl_offer '' $_quorctl_commands
      ;;
  esac
}

_quorctl_commands='status list get blob explain digest watch export diff check metrics apply set add delete rename
  reset history restore switch migrate help'

_quorctl() {
  local _quorctl_quote _quorctl_text _quorctl_kept _quorctl_redirects
  local i word typed option='' verb='' ended='' first=''
  local arguments=0
  local -a _quorctl_words _quorctl_values
  COMPREPLY=()
  _quorctl_split
  typed=${_quorctl_words[-1]}
  for ((i = 1; i < ${#_quorctl_words[@]} - 1; i++)); do
    word=${_quorctl_words[i]}
    if [[ $option ]]; then
      option=''
    elif [[ ! $ended && $word == -- ]]; then
      ended=yes
    elif [[ ! $ended && $word == -?* ]]; then
      ! _quorctl_takes_value "$word" || option=$word
    elif [[ ! $verb ]]; then
      verb=$word
    else
      ((++arguments > 1)) || first=$word
    fi
  done

  if [[ $_quorctl_redirects ]]; then
    compopt -o default 2>/dev/null
  elif [[ $option ]]; then
    _quorctl_complete_value "$option" '' "$verb" "$first"
  elif [[ ! $ended && $typed == --*=* ]] && _quorctl_takes_value "${typed%%=*}"; then
    _quorctl_complete_value "${typed%%=*}" "${typed%%=*}=" "$verb" "$first"
  elif [[ ! $ended && $typed == -* ]]; then
    # shellcheck disable=SC2046
    _quorctl_offer '' $(_quorctl_options "$verb")
  elif [[ ! $verb ]]; then
    # shellcheck disable=SC2086
    _quorctl_offer '' $_quorctl_commands
  else
    _quorctl_complete_argument "$verb" "$((arguments + 1))" "$first"
  fi
}

complete -F _quorctl quorctl
