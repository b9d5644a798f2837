# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# shellcheck shell=bash
# Completion of quorctl in bash. What can stand at the cursor comes from the quorctl that is being
# typed. What is typed is never evaluated, and what comes from the catalogue is quoted before it is
# put on the command line.

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

# Asks the quorctl that is being typed what can stand at the cursor, and offers that.
_quorctl() {
  local _quorctl_quote _quorctl_text _quorctl_kept _quorctl_redirects
  local directive prefix value typed
  local -a _quorctl_words
  COMPREPLY=()
  _quorctl_split
  if [[ $_quorctl_redirects ]]; then
    compopt -o default 2>/dev/null
    return
  fi
  typed=${_quorctl_words[-1]}
  {
    IFS= read -r directive
    IFS= read -r prefix
    while IFS= read -r value; do
      value=$prefix${value%%$'\t'*}
      [[ ${value:0:${#typed}} == "$typed" ]] || continue
      _quorctl_quoted "${value:_quorctl_kept}" && COMPREPLY+=("$_quorctl_text")
    done
  } < <("${_quorctl_words[0]/#~\//~/}" __complete "${_quorctl_words[@]:1}" 2>/dev/null </dev/null)
  case $directive in
    files) compopt -o default 2>/dev/null ;;
    directories) compopt -o dirnames 2>/dev/null ;;
    no-space) compopt -o nospace 2>/dev/null ;;
  esac
}

complete -F _quorctl quorctl
