#!/bin/sh
# The program links no library of a window system: its dynamic section
# names neither Qt's widget nor its GUI library (directly), and none of the
# libraries it loads pulls one in. A Windows program's imported DLLs are read
# with the OBJDUMP given (Qt's own DLLs import no GUI library but Gui's).
# Usage: no_gui_libraries.sh PROGRAM [OBJDUMP]
program=$1
[ -x "$program" ] || { echo "no program at $program"; exit 2; }
if [ "$(head -c 2 "$program")" = MZ ]; then
    needed=$("${2:-objdump}" -p "$program" | sed -n 's/.*DLL Name: *//p')
    loaded=""
else
    needed=$(readelf -d "$program" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
    loaded=$(ldd "$program") || { echo "ldd failed on $program"; exit 2; }
fi
[ -n "$needed" ] || { echo "cannot read the libraries of $program"; exit 2; }
echo "$program needs: $needed"
if echo "$needed $loaded" | grep -E '(lib)?Qt6(Widgets|Gui)|libX11|libxcb|libwayland'; then
    echo "$program links a window-system library"
    exit 1
fi
exit 0
