#!/usr/bin/env bash
# run.sh DRAVIN BROWSER SOURCE_FOLDER DATA_FOLDER WORK_FOLDER: exports and renders the scene, and
# compares our picture with the one of an outside viewer in a browser. Both pictures, ours.png and
# theirs.png, stay in the work folder.
set -euo pipefail
dravin=$1 browser=$2 source=$3 data=$4 work=$5

mkdir -p "$work/models"
cp "$source/package.json" "$source/check.mjs" "$source/page.html" "$source/scene.json" "$work"
cp "$data"/models/{oak,maple,bush}*.{glb,png} "$work/models"
cd "$work"
echo '<!doctype html><body></body>' > empty.html
if [ ! -d node_modules/three ] || [ package.json -nt node_modules ]; then
    npm install --no-package-lock --no-audit --no-fund --silent
fi
"$dravin" build scene.json -o scene.glb --surfaces
"$dravin" render scene.json -o ours.png
node check.mjs "$browser" "$work"
