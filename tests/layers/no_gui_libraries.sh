#!/bin/sh
# The program links no library of a window system: its dynamic section
# names neither Qt's widget nor its GUI library (directly), and none of the
# libraries it loads pulls one in. Usage: no_gui_libraries.sh PROGRAM
program=$1
[ -x "$program" ] || { echo "no program at $program"; exit 2; }
needed=$(readelf -d "$program" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
[ -n "$needed" ] || { echo "cannot read the libraries of $program"; exit 2; }
echo "$program needs: $needed"
loaded=$(ldd "$program") || { echo "ldd failed on $program"; exit 2; }
if echo "$needed $loaded" | grep -E 'libQt6(Widgets|Gui)|libX11|libxcb|libwayland'; then
    echo "$program links a window-system library"
    exit 1
fi
exit 0
