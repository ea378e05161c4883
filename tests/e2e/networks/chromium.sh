#!/bin/sh
# Chromium in the network that QUORVIN_NETWORK names.
exec "${0%/*}/networks.sh" in "$QUORVIN_NETWORK" chromium "$@"
