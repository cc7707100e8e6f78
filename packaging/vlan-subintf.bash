# bash completion for vlan-subintf: subcommands, their options, and where they take them the names of
# interfaces, bridges, namespaces, groups and files.

_vlan_subintf() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local clients='show status wait-ready explain watch trace audit withdraw resume resync metrics'
    local command='' word options
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
        -*) ;;
        *) command=$word && break ;;
        esac
    done
    COMPREPLY=()

    case $previous in
    --links | --vlans | --input | --previous | --script | --store | --control)
        mapfile -t COMPREPLY < <(compgen -f -- "$cur") && return
        ;;
    --source) options='kernel files' ;;
    --netns) options=$(ip netns list 2>/dev/null | cut -d' ' -f1) ;;
    --bridge) options=$(ip -br link show type bridge 2>/dev/null | cut -d' ' -f1 | cut -d@ -f1) ;;
    --control-group) mapfile -t COMPREPLY < <(compgen -g -- "$cur") && return ;;
    --intf | --lag) options=$(_vlan_subintf_links) ;;
    --vlan | --timeout | --metrics | --receive-buffer | --share | --trace) return ;;
    *) options=$(_vlan_subintf_words "$command") ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
}

# What may come next in that subcommand; without one, the subcommands.
_vlan_subintf_words() {
    local inputs='--links --vlans --input' client='--json --control --help'
    case $1 in
    '') echo "derive inspect agent $clients --help --version" ;;
    derive) echo "$inputs --json --previous --trace --sync --share --help" ;;
    inspect) echo "$inputs --json --previous --paused --script --sync --share --help" ;;
    agent)
        echo "--source --netns --bridge --receive-buffer $inputs --store --control" \
            "--control-group --metrics --share --trace --help"
        ;;
    show) echo "--vlan --intf --lag $client" ;;
    wait-ready) echo "--timeout $client" ;;
    explain) echo "$(_vlan_subintf_links) $client" ;;
    trace) echo "off 6-9 $client" ;;
    withdraw) echo "--yes $client" ;;
    *) echo "$client" ;;
    esac
}

_vlan_subintf_links() { ip -br link show 2>/dev/null | cut -d' ' -f1 | cut -d@ -f1; }

complete -F _vlan_subintf vlan-subintf
