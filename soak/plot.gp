# SPDX-License-Identifier: Apache-2.0
# gnuplot -c soak/plot.gp CSV SVG: the samples of an hour's soak: memory on the left axis, descriptors and threads on the
# right one. Every sixth sample: more do not show.
set terminal svg size 860,400 font "sans-serif,13" background "white"
set output ARG2
set datafile separator ","
set datafile columnheaders
set title "Everything at once through the host"
set xlabel "minutes"
set ylabel "MB"
set y2label "count"
set yrange [0:*]
set y2range [0:*]
set y2tics
set key below
set grid
plot ARG1 every 6 using (column("s")/60):(column("rss_kb")/1024) with lines linewidth 2 title "resident memory", \
  '' every 6 using (column("s")/60):(column("anon_kb")/1024) with lines linewidth 3 title "of it heap and stacks", \
  '' every 6 using (column("s")/60):"descriptors" axes x1y2 with lines title "descriptors", \
  '' every 6 using (column("s")/60):"threads" axes x1y2 with lines title "threads"
