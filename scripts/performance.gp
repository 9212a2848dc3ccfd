# Draws how each road relates to its bound, and where it should be. For bench.sh, which gives ratios (road, ratio and goal in a
# line, ? for no goal) and chart, the file to write.
set terminal svg size 900, 480 background "white" font "sans-serif,13"
set output chart
set datafile separator tab
set datafile missing "?"
set title "Time of each road, in times of its bound"
set style fill solid
set key bottom right
set grid xtics
set xrange [0:*]
set offsets 0, 0, 0.6, 0.6
unset border
set tics scale 0
plot ratios using ($2 / 2):(-$0):($2 / 2):(0.3):ytic(1) with boxxyerror lc rgb "#5b8db8" title "measured", \
     ratios using 3:(-$0 - 0.42):(0):(0.84) with vectors nohead lw 3 lc rgb "#c03030" title "at most"
