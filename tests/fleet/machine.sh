#!/bin/sh
# Makes a sandbox a machine of the fleet, and runs a command there: machine.sh NAME MEROSYSTEMCTL COMMAND... The
# service `files` works on the volume. On the machine `bad` it cannot start without it.
set -eu
name=$1
merosystemctl=$2
shift 2

mkdir -p /usr/mero/etc/merosystemd
echo dialect=current > /usr/mero/etc/merosystemd/systemctl.conf
ln -s "$merosystemctl" /usr/local/bin/merosystemctl

mkdir -p /volume1
[ "$name" = bad ] || mkdir /volume1/data
mount -t tmpfs volume1 /volume1
mkdir /volume1/data
cat > /run/systemd/system/files.service << END
[Service]
WorkingDirectory=/volume1/data
ExecStart=/bin/sleep infinity
END
cat > /run/systemd/system/web.service << END
[Service]
ExecStart=/bin/sleep infinity
END
systemctl daemon-reload
systemctl start files web

# What the package of sshd would have set up.
useradd --system --home-dir /run/sshd --shell /usr/sbin/nologin sshd
mkdir /run/sshd
usermod --password '*' root # a locked account may not log in
exec "$@"
