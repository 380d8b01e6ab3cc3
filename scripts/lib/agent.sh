# Starting and ending the agent; sourced after common.sh. Every wait has an end.
programs=$root/build/release/bin
agent=

# Starts the agent on the present session bus and returns when it answers. $1: file for its standard error. It gets a
# session of its own, so that Ctrl-C reaches the caller alone, which ends it in order.
start_agent() {
    setsid "$programs/vantaro" 2>"$1" >&2 &
    agent=$!
    local tries
    for tries in {1..150}; do
        "$programs/vantaroctl" drives >/dev/null 2>&1 && return
        kill -0 "$agent" 2>/dev/null || break
        sleep 0.1
    done
    tail -n 20 "$1" >&2
    stop_agent
    fail "the agent does not answer; its messages are in $1"
}

# Ends the agent that start_agent started, politely at first.
stop_agent() {
    [[ -n $agent ]] || return 0
    local tries
    timeout 10 "$programs/vantaroctl" quit >/dev/null 2>&1 || kill "$agent" 2>/dev/null || true
    for tries in {1..100}; do
        kill -0 "$agent" 2>/dev/null || break
        sleep 0.1
    done
    kill -KILL "$agent" 2>/dev/null || true
    wait "$agent" 2>/dev/null || true
    agent=
}
