#!/usr/bin/env bash
# Run by a user: each shell finds the completion by itself and offers what begins so.
expect() { # SHELL OFFERED: two options that begin alike
    [[ $2 == *--quality* && $2 == *--quiet* && $2 != *--scale* ]] || { echo "$1 offers: $2" >&2; return 1; }
}
expect bash "$(bash -c '
    source /usr/share/bash-completion/bash_completion
    _completion_loader vxcompress
    complete -p vxcompress | grep -q _vxcompress
    compopt() { :; }
    COMP_WORDS=(vxcompress --qu) COMP_CWORD=1
    _vxcompress
    echo "${COMPREPLY[@]}"')"
expect fish "$(fish -c 'complete -C "vxcompress --qu"')"
# shellcheck disable=SC2016  # for the inner shell
expect zsh "$(timeout 60 zsh -f -c '
    zmodload zsh/zpty
    zpty shell "TERM=dumb PS1= zsh -f -i"
    zpty -w shell "autoload -U compinit; compinit -u -d ~/.zcompdump; bindkey -e; echo rea\\dy"
    zpty -r shell output "*ready*"
    zpty -w -n shell $'"'vxcompress --qu\\t'"'
    zpty -r shell output "*--quiet*"
    print -r -- $output
    zpty -d shell' | tr -d '\r' | sed -n '/^--/p;/--qu.*--/p')"
# And all that the help names.
options() { grep -oE '^ +(-., )?--[a-z-]+' | grep -o -- '--.*' | sort -u; }
for command in '' report doctor; do
    # shellcheck disable=SC2086  # none at all for the program itself
    vxcompress $command --help-all | options >named
    fish -c "complete -C 'vxcompress $command --'" | grep -o -- '^--[a-z-]*' | sort -u | diff named -
    cat named >>all-named
done
man vxcompress | col -b | options | diff <(sort -u all-named) -
