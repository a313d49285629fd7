#!/usr/bin/env bash
# docs/openapi.yaml through the pinned Redocly CLI (tools/openapi/node_modules,
# installed by scripts/install-deps.sh); nothing here reaches the network.
#   openapi.sh lint               lints with docs/redocly.yaml (fails on errors)
#   openapi.sh json OUT.json      the document as one JSON file
#   openapi.sh html OUTDIR        the HTML reference: OUTDIR/index.html and the
#                                 Redoc script it loads from beside it
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
repo=$(cd "$here/../.." && pwd)
document="$repo/docs/openapi.yaml"
redocly="$here/node_modules/.bin/redocly"
redoc_script="$here/node_modules/redoc/bundles/redoc.standalone.js"

[ -x "$redocly" ] || { echo "openapi.sh: $redocly is missing (scripts/install-deps.sh)" >&2; exit 1; }
# The CLI asks nothing of the network when told so.
export REDOCLY_TELEMETRY=off REDOCLY_SUPPRESS_UPDATE_NOTICE=true NO_UPDATE_NOTIFIER=1

case "${1:-}" in
  lint)
    "$redocly" lint --config "$repo/docs/redocly.yaml" --format=stylish "$document" ;;
  json)
    [ $# -eq 2 ] || { echo "usage: openapi.sh json OUT.json" >&2; exit 2; }
    "$redocly" bundle --dereferenced=false --ext json -o "$2" "$document" >/dev/null ;;
  html)
    [ $# -eq 2 ] || { echo "usage: openapi.sh html OUTDIR" >&2; exit 2; }
    mkdir -p "$2"
    "$redocly" build-docs --disableGoogleFont --title "Camera REST interface" \
      -o "$2/index.html.new" "$document" >/dev/null
    # The page loads Redoc from beside itself, not from a CDN, and renders
    # the embedded document afresh: hydrating the pre-rendered markup makes
    # React report mismatches in the browser's console.
    sed -i -E -e 's#<script src="https://[^"]*/redoc\.standalone\.js"></script>#<script src="redoc.standalone.js"></script>#' \
      -e 's#Redoc\.hydrate\(__redoc_state, container\)#Redoc.init(__redoc_state.spec.data, __redoc_state.options, container)#' \
      "$2/index.html.new"
    grep -q 'Redoc\.init(__redoc_state' "$2/index.html.new" ||
      { echo "openapi.sh: the page's start script is not the expected one" >&2; exit 1; }
    if grep -qE '<(script|link)[^>]+(src|href)="https?://' "$2/index.html.new"; then
      echo "openapi.sh: the page still loads something from the network" >&2
      exit 1
    fi
    cp "$redoc_script" "$2/redoc.standalone.js.new"
    mv "$2/redoc.standalone.js.new" "$2/redoc.standalone.js"
    mv "$2/index.html.new" "$2/index.html" ;;
  *)
    sed -n '2,8p' "$0" >&2
    exit 2 ;;
esac
