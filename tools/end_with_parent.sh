#!/bin/sh
# usage: end_with_parent.sh PARENT COMMAND [ARGUMENT ...]
#
# Becomes a command that the kernel kills when the process with the id PARENT, which starts it, ends,
# however that ends. That must be a process that starts this from its first thread.

if [ "$1" != --asked ]; then
  exec setpriv --pdeathsig KILL -- "$0" --asked "$@"
fi
# One that was gone before the kernel was asked would not be noticed.
[ "$PPID" = "$2" ] || exit 127
shift 2
exec "$@"
