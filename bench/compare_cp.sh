#!/usr/bin/env bash
# Whole processes copying the same content: vexafs cp of a local file against cp, of a
# body from a loopback nginx against curl -o, and of a local file onto the same nginx as a
# WebDAV share against curl -T. vexafs commits a local copy only once it is synced to disk,
# so each peer syncs its copy too (coreutils' sync FILE), as a user who needs the copy to
# last would. After a warm-up run of each, the commands take turns over RUNS rounds and
# each keeps its best wall-clock time, so that load from elsewhere falls on all alike.
# A folder of small files is copied to a bucket of a loopback s3rver too, one file at a time
# and eight at a time.
# Goals: vexafs cp of a local file at most 1.1 times cp, of an http body at most 1.2 times
# curl -o, onto the share at most 1.2 times curl -T; cp --recursive --jobs 8 of the small
# files to the bucket at least 4 times as fast as --jobs 1. The script exits 1 when one is
# not met, naming it.
#
#   bench/compare_cp.sh BUILD_DIR [RUNS] [LOCAL_MIB] [HTTP_MIB] [SMALL_FILES]
set -euo pipefail
build=${1:?usage: compare_cp.sh BUILD_DIR [RUNS] [LOCAL_MIB] [HTTP_MIB] [SMALL_FILES]}
runs=${2:-3}
local_mib=${3:-1024}
http_mib=${4:-300}
small_files=${5:-1000}
vexafs="$build/tools/vexafs/vexafs"
work=$(mktemp -d "${TMPDIR:-/tmp}/vexa-compare-cp-XXXXXX")
nginx_pid=
s3rver_pid=
cleanup() {
    [[ -n $nginx_pid ]] && kill "$nginx_pid" 2>/dev/null && wait "$nginx_pid" 2>/dev/null
    [[ -n $s3rver_pid ]] && kill "$s3rver_pid" 2>/dev/null && wait "$s3rver_pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

head -c $((local_mib << 20)) /dev/urandom >"$work/local.bin"
# Ten folders of small files, each a few hundred bytes.
for ((i = 0; i < small_files; ++i)); do
    folder="$work/small/$((i % 10))"
    [[ -d $folder ]] || mkdir -p "$folder"
    head -c $((100 + i % 400)) /dev/urandom >"$folder/$i"
done
mkdir -p "$work/www/share" "$work/logs"
chmod 755 "$work" "$work/www"   # nginx's workers read as another user
chmod 777 "$work/www/share" "$work/logs" # and write the share
head -c $((http_mib << 20)) /dev/urandom >"$work/www/body.bin"
chmod 644 "$work/www/body.bin"
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
cat >"$work/nginx.conf" <<CONF
load_module /usr/lib/nginx/modules/ngx_http_dav_ext_module.so;
pid $work/nginx.pid;
error_log $work/logs/error.log;
events {}
http {
    access_log off;
    client_body_temp_path $work/logs;
    proxy_temp_path $work/logs;
    fastcgi_temp_path $work/logs;
    uwsgi_temp_path $work/logs;
    scgi_temp_path $work/logs;
    server {
        listen 127.0.0.1:$port;
        root $work/www;
        location /share/ {
            dav_methods PUT DELETE MKCOL COPY MOVE;
            dav_ext_methods PROPFIND OPTIONS;
            client_max_body_size 0;
        }
    }
}
CONF
nginx -p "$work" -c "$work/nginx.conf" -g 'daemon off;' &
nginx_pid=$!
url="http://127.0.0.1:$port/body.bin"
share="127.0.0.1:$port/share"
for _ in $(seq 100); do curl -sfI "$url" >/dev/null && break; sleep 0.05; done

# The S3 server the tests use (scripts/setup installs it), for the copies to a bucket.
s3port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
mkdir -p "$work/s3"
NODE_OPTIONS=--openssl-legacy-provider "$(dirname "$0")/../.cache/s3rver/node_modules/.bin/s3rver" \
    -d "$work/s3" -a 127.0.0.1 -p "$s3port" --configure-bucket bucket --silent &
s3rver_pid=$!
for _ in $(seq 200); do curl -s "http://127.0.0.1:$s3port/" >/dev/null && break; sleep 0.05; done
export AWS_ENDPOINT_URL_S3="http://127.0.0.1:$s3port" AWS_ACCESS_KEY_ID=S3RVER \
    AWS_SECRET_ACCESS_KEY=S3RVER AWS_REGION=us-east-1
round=warm # each copy to the bucket goes to a folder of its own

declare -A command=(
    [vexafs_local]="$vexafs cp '$work/local.bin' '$work/out-vexafs'"
    [cp]="cp '$work/local.bin' '$work/out-cp' && sync '$work/out-cp'"
    [vexafs_http]="$vexafs cp '$url' '$work/out-vexafs-http'"
    [curl]="curl -sf -o '$work/out-curl' '$url' && sync '$work/out-curl'"
    [vexafs_dav]="$vexafs cp '$work/www/body.bin' 'dav://$share/out-vexafs.bin'"
    [curl_put]="curl -sf -T '$work/www/body.bin' 'http://$share/out-curl.bin'"
    [vexafs_jobs1]="$vexafs cp --recursive --jobs 1 '$work/small' s3://bucket/jobs1-\$round"
    [vexafs_jobs8]="$vexafs cp --recursive --jobs 8 '$work/small' s3://bucket/jobs8-\$round"
)
order=(vexafs_local cp vexafs_http curl vexafs_dav curl_put vexafs_jobs1 vexafs_jobs8)

# The CPU time s3rver spent during a run, in ms: a copy to the bucket that takes about as
# long as the server's own work is bound by the server, not by the copier.
ticks=$(getconf CLK_TCK)
server_cpu_ms() { awk -v t="$ticks" '{ print int(($14 + $15) * 1000 / t) }' "/proc/$s3rver_pid/stat"; }

declare -A best server_cpu
for name in "${order[@]}"; do
    eval "${command[$name]}"
    best[$name]=
done
cmp "$work/local.bin" "$work/out-vexafs"
cmp "$work/www/body.bin" "$work/out-vexafs-http"
cmp "$work/www/body.bin" "$work/www/share/out-vexafs.bin"
diff -r "$work/small" "$work/s3/bucket/jobs8-warm" >/dev/null 2>&1 ||
    [[ $("$vexafs" ls --recursive 's3://bucket/jobs8-warm/*' | wc -l) -eq $((small_files + 10)) ]]
for ((i = 0; i < runs; ++i)); do
    round=$i
    for name in "${order[@]}"; do
        rm -rf "$work"/out-* "$work"/www/share/out-*
        cpu=$(server_cpu_ms)
        start=$(date +%s%N)
        eval "${command[$name]}"
        ms=$((($(date +%s%N) - start) / 1000000))
        cpu=$(($(server_cpu_ms) - cpu))
        if [[ -z ${best[$name]} || $ms -lt ${best[$name]} ]]; then
            best[$name]=$ms
            server_cpu[$name]=$cpu
        fi
    done
done

printf '%-14s %10s %16s\n' command best_ms s3rver_cpu_ms
for name in "${order[@]}"; do
    cpu=-
    [[ $name == vexafs_jobs* ]] && cpu=${server_cpu[$name]}
    printf '%-14s %10s %16s\n' "$name" "${best[$name]}" "$cpu"
done

unmet=0
goal() {
    local met=yes
    awk -v a="$2" -v b="$3" -v k="$4" 'BEGIN { exit !(a > 0 && b > 0 && a <= k * b) }' || met=no
    echo "$1: $met ($(awk -v a="$2" -v b="$3" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }') x)"
    [[ $met == yes ]] || unmet=1
}
goal "vexafs cp of a ${local_mib} MiB local file at most 1.1 x cp" "${best[vexafs_local]}" "${best[cp]}" 1.1
goal "vexafs cp of a ${http_mib} MiB http body at most 1.2 x curl -o" "${best[vexafs_http]}" "${best[curl]}" 1.2
goal "vexafs cp of a ${http_mib} MiB file to a WebDAV share at most 1.2 x curl -T" "${best[vexafs_dav]}" "${best[curl_put]}" 1.2
goal "vexafs cp --recursive --jobs 8 of ${small_files} small files to a bucket at most 0.25 x --jobs 1" \
    "${best[vexafs_jobs8]}" "${best[vexafs_jobs1]}" 0.25
exit $unmet
