# A place for supporters on other computers on this one, for ./run --remote-demo. Sourced, beside what
# starts its processes and keeps their ids in screenPids.
# shellcheck shell=bash

demoBroker=18831     # for the host
demoWebSocket=18832  # for the page's server
demoPage=8443
demoFolder=

# The broker with the rights that it has in deploy/, reachable from this computer only.
writeDemoBroker() {
  cp deploy/files/acl "$demoFolder/acl"
  cat >"$demoFolder/mosquitto.conf" <<END
listener $demoBroker 127.0.0.1
listener $demoWebSocket 127.0.0.1
socket_domain ipv4
protocol websockets
allow_anonymous true
acl_file $demoFolder/acl
persistence false
log_type error
$( ((EUID != 0)) || echo "user root")
END
}

makeDemoCertificate() {
  logged demo-certificate openssl req -x509 -nodes -days 7 -newkey ec \
    -pkeyopt ec_paramgen_curve:prime256v1 -subj "/CN=$1" -addext "subjectAltName=IP:$1" \
    -keyout "$demoFolder/key.pem" -out "$demoFolder/certificate.pem" ||
    fail "there is no certificate for \"$1\"; --address needs this computer's IP address."
}

# startRemoteDemo ADDRESS
startRemoteDemo() {
  local address=$1 page attempt
  local -a certificate=()
  page="http://127.0.0.1:$demoPage/"
  demoFolder=$(mktemp -d)
  logged demo-modules npm ci --prefix supporter --ignore-scripts --no-audit --no-fund ||
    fail "the modules of the supporter's page could not be fetched." || return
  logged demo-page node supporter/build.mjs "$demoFolder/page" ||
    fail "the supporter's page could not be built." || return
  if [[ "$address" != 127.0.0.1 ]]; then
    makeDemoCertificate "$address" || return
    certificate=("$demoFolder/certificate.pem" "$demoFolder/key.pem")
    page="https://$address:$demoPage/"
  fi
  writeDemoBroker
  startScreenProcess /usr/sbin/mosquitto -c "$demoFolder/mosquitto.conf"
  startScreenProcess node tools/remote_demo.mjs "$demoFolder/page" "$address" "$demoPage" \
    "$demoWebSocket" "${certificate[@]}"
  for ((attempt = 0; attempt < 100; ++attempt)); do
    if (: <"/dev/tcp/$address/$demoPage" && : <"/dev/tcp/127.0.0.1/$demoBroker") 2>/dev/null; then
      break
    fi
    sleep 0.1
  done
  # shellcheck disable=SC2154  # whoever sources this has them
  if ((attempt == 100)) || ! kill -0 "${screenPids[@]}" 2>/dev/null; then
    fail "broker or page did not start; is port $demoPage, $demoBroker or $demoWebSocket in use?" \
      "See build/logs/virtual-screen.log."
    return
  fi
  export QUORVIN_REMOTE_BROKER="mqtt://127.0.0.1:$demoBroker" QUORVIN_REMOTE_PAGE="$page"
  explainDemo "$page"
}

explainDemo() {
  say "== A supporter can come from another browser"
  say "1. Open the address that the program prints below, and press \"Invite a supporter\"."
  say "2. Open $1 in another window or on another computer, and enter the code."
  say "3. Answer the question on the first page."
  if [[ "$1" == https:* ]]; then
    say "It warns of the certificate, which this computer has made for itself: choose to go on (\"Advanced\")."
  fi
}
