# shellcheck shell=bash
# Drives the service and the terminal host for ./demo. To be sourced after scripts/common.sh.

if [[ -n $bold ]]; then
  dim=$'\e[2m' cyan=$'\e[36m' yellow=$'\e[33m'
else
  dim='' cyan='' yellow=''
fi

# The demo's world: one folder that is gone afterwards.
world=$(mktemp -d)
host_log=$world/host.log
host_pid=''
service_pid=''
# The demo's time runs ahead of the machine's by the seconds that it has skipped, in every launch.
clock_ahead=0

# Only this run's processes, and only its own folder.
end_world() {
  [[ -n $host_pid ]] && kill "$host_pid" 2>/dev/null
  [[ -n $service_pid ]] && kill "$service_pid" 2>/dev/null
  wait 2>/dev/null
  rm -rf "$world"
}
trap end_world EXIT

chapter() { printf '\n%s%s%s\n%s\n' "$bold" "$1" "$plain" "${1//?/=}"; }
step() { printf '\n%s> %s%s\n' "$cyan" "$1" "$plain"; }
note() { printf '  %s%s%s\n' "$dim" "$1" "$plain"; }

# give_up WHAT: an unexpected turn ends the demo.
give_up() {
  complain "$1" "look at the lines above; the host's log ends with: $(tail -n 3 "$host_log" 2>/dev/null)"
  exit 1
}

# wait_for FILE: until the file has something in it; ten seconds at most.
wait_for() {
  local tries
  for ((tries = 0; tries < 200; tries++)); do
    [[ -s $1 ]] && return 0
    sleep 0.05
  done
  give_up "nothing came to be in $1"
}

# accounts JSON-CONFIG JSON-CAMPAIGNS: what the service knows of the account "acme" from now on.
accounts() {
  accounts_stamp=$((${accounts_stamp:-0} + 1))
  printf '{"accounts":{"acme":{"secret":"s3cret","access_key":"key-1","blocked":false,"lst":%d,"config":%s,"campaigns":%s}}}' \
    "$accounts_stamp" "$1" "$2" >"$world/accounts.new"
  mv "$world/accounts.new" "$world/accounts.json"
}

# start_service PROGRAM ASSETS
start_service() {
  "$1" --port 0 --accounts "$world/accounts.json" --assets "$2" --data "$world/service" \
    --ready-file "$world/ready.json" >"$world/service.log" 2>&1 &
  service_pid=$!
  wait_for "$world/ready.json"
  service_port=$(sed -n 's/.*"port":\([0-9]*\).*/\1/p' "$world/ready.json")
  authority=$(sed -n 's/.*"ca":"\([^"]*\)".*/\1/p' "$world/ready.json")
  requests_seen=$(wc -l <"$world/service.log")
}

# launch PROGRAM [OPTION…]: starts the host application; commands go to it one by one with `tell`.
launch() {
  local program=$1
  shift
  rm -f "$world/in" "$world/out"
  mkfifo "$world/in" "$world/out"
  : >"$host_log"
  log_seen=0
  "$program" --data "$world/app" --keychain "$world/keychain" --device-name "Ada's phone" \
    --connect "127.0.0.1:$service_port" --ca "$authority" "$@" <"$world/in" >"$world/out" 2>"$host_log" &
  host_pid=$!
  exec {to_host}>"$world/in" {from_host}<"$world/out"
  local ready
  read -r -t 10 ready <&"$from_host" || give_up "the host did not start"
  tell_quietly "advance $clock_ahead"
}

# tell COMMAND-LINE: runs one command, then shows what the person sees and what the library logs.
tell() {
  printf '  %s$ %s%s\n' "$bold" "$1" "$plain"
  [[ $1 == advance* ]] && clock_ahead=$((clock_ahead + ${1#advance }))
  tell_quietly "$1"
}

tell_quietly() {
  local line
  printf '%s\n' "$1" >&"$to_host" || give_up "the host is gone"
  while read -r -t 60 line <&"$from_host"; do
    case $line in
      '{"done"'*)
        result=$(sed -n 's/.*"result":\(.*\)}$/\1/p' <<<"$line")
        [[ -n $result ]] && printf '    = %s\n' "$result"
        show_log
        return 0
        ;;
      '{"error"'*) give_up "$line" ;;
      *) printf '    %s%s%s\n' "$yellow" "${line:0:200}" "$plain" ;;
    esac
  done
  give_up "the host did not answer: $1"
}

# The library's lines since the last time.
show_log() {
  local lines line
  mapfile -t -s "$log_seen" lines <"$host_log"
  for line in "${lines[@]}"; do
    printf '    %s%s%s\n' "$dim" "${line:0:150}" "$plain"
  done
  log_seen=$((log_seen + ${#lines[@]}))
}

# Lets the library finish what it has begun.
settle() {
  tell_quietly drain
}

# The requests that reached the service since the last time.
show_requests() {
  local lines
  mapfile -t -s "$requests_seen" lines <"$world/service.log"
  ((${#lines[@]} > 0)) && printf '    service: %s\n' "${lines[@]}"
  requests_seen=$((requests_seen + ${#lines[@]}))
}

rows_waiting() { sqlite3 "$world/app/Documents/ostrelab.sqlite" 'SELECT COUNT(*) FROM ostrel_events'; }
show_rows() { printf '    %s rows wait in the host'"'"'s database\n' "$(rows_waiting)"; }

# received WHERE: how many events of the service's own database answer a condition.
received() { sqlite3 "$world/service/service.sqlite" "SELECT COUNT(*) FROM events WHERE $1"; }

# quit_host: a clean end, as a person closes an application.
quit_host() {
  printf 'quit\n' >&"$to_host"
  exec {to_host}>&- {from_host}<&-
  wait "$host_pid" || give_up "the host ended with status $?"
  host_pid=''
}

# expect TEXT ACTUAL WANTED: one line of the demo's own accounts.
failures=0
expect() {
  if [[ $2 == "$3" ]]; then
    printf '  %sok%s   %s: %s\n' "$green" "$plain" "$1" "$2"
  else
    printf '  %sBAD%s  %s: %s, not %s\n' "$red" "$plain" "$1" "$2" "$3"
    failures=$((failures + 1))
  fi
}
