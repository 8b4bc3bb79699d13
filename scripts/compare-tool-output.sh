#!/bin/bash
# Runs two builds of the ktsip tool over the same inputs and reports every difference in
# their output (stdout, stderr with trace-level logs, exit status). Used to check that a
# refactoring leaves behaviour identical byte for byte.
#
#   scripts/compare-tool-output.sh OLD_DIR NEW_DIR [CORPUS_DIR...]
#
# OLD_DIR and NEW_DIR each hold a `ktsip` binary and the libktsip/libktutil it loads (or are
# build directories: tools/ktsip/ktsip, sip/ and base/ are then used). The inputs are every
# message file under the corpus directories (default: bench/corpus, examples/messages), each
# header line in them, a list of header lines of every registered class, and the derive kinds.
set -u
old=$1 new=$2
shift 2
dirs=("$@")
[ ${#dirs[@]} -eq 0 ] && dirs=(bench/corpus examples/messages)

run() {  # run DIR ARGS...: the tool's stdout, stderr and status
    local dir=$1
    shift
    local bin=$dir/ktsip libs=$dir
    if [ -x "$dir/tools/ktsip/ktsip" ]; then bin=$dir/tools/ktsip/ktsip libs=$dir/sip:$dir/base; fi
    LD_LIBRARY_PATH=$libs timeout 20 "$bin" "$@" 2>&1
    echo "status=$?"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
lines=$work/lines
: >"$lines"
files=$(find "${dirs[@]}" -type f \( -name '*.sip' -o -name '*.dat' -o -name '*.txt' \) | sort)
for f in $files; do
    # Header lines: from the second line to the first empty one, line ends removed.
    awk 'NR > 1 { sub(/\r$/, ""); if ($0 == "") exit; print }' "$f" >>"$lines"
done
cat >>"$lines" <<'EOF'
Alert-Info: <http://www.example.com/sounds/moo.wav>;appearance=2
Error-Info: "sip:not-in-service@example.com";reason=x, <sip:b@c>
Call-Info: <http://wwww.example.com/alice/photo.jpg> ;purpose=icon
Route: <sip:a@b;lr>, "x" <sip:c>
Record-Route: <sip:p1.example.com;lr>
Record-Route: garbage<
Route: <
Refer-To: sip:alice@example.com;method=INVITE
Referred-By: "Bob" <sip:bob@example.com>;cid=1
CC-Diversion: <sip:x@y>;reason=busy
Contact: *
Contact: "A" <sip:a@b;transport=tcp>;q=0.5;expires=60, <sip:c@d>
From: <sip:a@b;transport=udp;maddr=1.2.3.4?x=y>;tag=1
To: <sip:a@b>;tag=2
To: <>
WWW-Authenticate: Digest realm="r", nonce="n", qop="auth,auth-int", algorithm=MD5, stale=FALSE, opaque="o"
Proxy-Authenticate: Digest realm="r", nonce="n"
Proxy-Authenticate: Basic realm="r"
Authorization: Digest username="u", realm="r", nonce="n", uri="sip:a@b", response="0123456789abcdef0123456789abcdef", cnonce="c", nc=00000001, qop=auth
Proxy-Authorization: Digest username="u", realm="r", nonce="n", uri="sip:a@b", response="x"
Authorization: Basic dXNlcjpwYXNz
Authentication-Info: nextnonce="n2", qop=auth, rspauth="ab", cnonce="c", nc=00000001
User-Agent: Softphone/1.0 (beta) libfoo/2
Server: Proxy/3.1
User-Agent:
Accept: application/sdp;level=1, text/plain;q=0.5
Accept: */*
Content-Type: application/sdp
c: multipart/mixed; boundary="xyz"
Content-Type: garbage
Expires: 3600
Expires: Thu, 01 Dec 1994 16:00:00 GMT
Expires: -1
Retry-After: 18000;duration=3600 (I'm in a meeting)
Retry-After: Mon, 21 Jul 1997 12:00:00 GMT
Retry-After: x
Min-Expires: 60
CSeq: 4711 INVITE
CSeq: 4294967296 INVITE
CSeq: 1
RAck: 776656 1 INVITE
RAck: 1 x
Timestamp: 54 0.5
Date: Sat, 13 Nov 2010 23:29:00 GMT
Warning: 307 isi.edu "Session parameter 'foo' not understood"
Replaces: 98732@sip.example.com;from-tag=r33th4x0r;to-tag=ff87ff
Session-Expires: 4000;refresher=uac
Content-Disposition: session;handling=optional
Accept-Language: da, en-gb;q=0.8
Priority: urgent
Event: presence;id=1
Subject: Hi
Via: SIP/2.0/UDP host:5060;branch=z9hG4bK1;received=1.2.3.4;rport
Response-Key: Digest key="k"
Session: media
In-Reply-To: 70710@saturn.bell-tel.com, 17320@saturn.bell-tel.com
MIME-Version: 1.0
Organization: Boxes by Bob
Unsupported: foo
X-Custom: anything
EOF

count=0 diffs=0
compare() {  # compare LABEL ARGS...
    count=$((count + 1))
    run "$old" "$@" >"$work/old"
    run "$new" "$@" >"$work/new"
    if ! cmp -s "$work/old" "$work/new"; then
        diffs=$((diffs + 1))
        echo "=== differs: $1"
        diff "$work/old" "$work/new" | head -20
    fi
}
for f in $files; do
    compare "parse $f" --log-level trace parse --json "$f"
    for kind in response ack prack cancel bye; do
        compare "derive $kind $f" --log-level trace derive --json "$kind" "$f"
    done
done
while IFS= read -r line; do
    compare "header $line" --log-level trace header --json "$line"
done <"$lines"
echo "$count runs, $diffs with differences"
[ "$diffs" -eq 0 ]
