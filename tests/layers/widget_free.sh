#!/bin/sh
# The layers below the windows build without Qt Widgets: no file under
# diag/, service/, refresh/ (nor daemon/ when it exists) includes a header of
# the widget module. Usage: widget_free.sh SOURCE_DIR QTWIDGETS_INCLUDE_DIR
src=$1
widgets=$2
[ -d "$widgets" ] || { echo "no QtWidgets headers at $widgets"; exit 2; }
status=0
for layer in diag service refresh daemon; do
    [ -d "$src/$layer" ] || continue
    for file in "$src/$layer"/*.cpp "$src/$layer"/*.h; do
        [ -f "$file" ] || continue
        for header in $(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*<\([^>]*\)>.*/\1/p' "$file"); do
            name=${header#QtWidgets/}
            if [ -f "$widgets/$name" ] || [ "$header" != "$name" ]; then
                echo "$file includes the widget header <$header>"
                status=1
            fi
        done
    done
done
exit $status
