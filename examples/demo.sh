#!/bin/sh
# Five scenes on real measurements: what is seen, what is asked, what is found.
# Usage: examples/demo.sh PATH_OF_PTMATCH OUTPUT_FOLDER
# For each scene a table is printed, and SCENE.svg, SCENE.json (and SCENE.png where rsvg-convert is
# installed) are written to the folder. Fails when a scene fails.
set -eu

ptmatch=$1
out=$2
data=$(cd "$(dirname "$0")/../data" && pwd)
mkdir -p "$out"

# scene COMMAND NAME OPTION... runs a command of the tool on the tables of data/NAME, prints its table
# and draws what it found.
scene() {
    command=$1
    name=$2
    shift 2
    set -- "$command" --data "$data/$name/data.csv" "$@"
    "$ptmatch" "$@" --svg "$out/$name.svg"
    "$ptmatch" "$@" --json >"$out/$name.json"
    pictures="$out/$name.svg"
    if command -v rsvg-convert >/dev/null; then
        rsvg-convert -o "$out/$name.png" "$out/$name.svg"
        pictures="$pictures, $out/$name.png"
    fi
    printf '\n   The picture: %s\n\n' "$pictures"
}

# match NAME OPTION... finds data/NAME/model.csv in data/NAME/data.csv.
match() {
    name=$1
    shift
    scene match "$name" --model "$data/$name/model.csv" "$@"
}

cat <<'TEXT'
1. A needle in a haystack
   A printed card with 30 dots lies somewhere on a sheet of paper full of dots that all look alike;
   only the arrangement of the 30 can give it away among the 286 dots of the photograph.

   Seen:   286 centres of dots, in pixels, from a photograph taken by hand.
   Asked:  where are the 30? No options: the built-in defaults look within 15 degrees, at the size
           of the model, and choose the resolution from the distances between its points.

TEXT
match demo_pick
cat <<'TEXT'
   Found:  all 30, the card turned by 5 degrees. The remaining errors of about 2 pixels are the tilt
           of the camera and its lens, which no rotation and scale can follow.

TEXT

cat <<'TEXT'
2. A circuit board on a scanner
   The drill file of a board says in millimetres where its 66 holes are; the scan of the board shows
   74 bright spots in pixels, some of them holes, some of them print.

   Seen:   74 centres of spots, in pixels of a scan with 300 dots per inch.
   Asked:  which spot is which hole, and how does the board lie?
           --start-scale 11.811    300 dpi are 300 / 25.4 = 11.811 pixels per millimetre
           --scale -0.02,0.02      scanners are off by up to 2 percent
           --rotation full         the board may lie any way round
           --capture-range 2       a spot within 2 pixels of its hole counts

TEXT
match versa64 --start-scale 11.811 --scale -0.02,0.02 --rotation full --capture-range 2
cat <<'TEXT'
   Found:  65 of 66 holes, half a pixel (0.04 mm) off, root mean square. The one left is the large
           mounting hole, whose spot is displaced by the shadow inside it. Of the nine free spots one is
           the mounting hole's; eight are print.

TEXT

cat <<'TEXT'
3. One star cluster, 65 years apart
   Two photographic plates show the Beehive cluster in 1910 and in 1975; each has stars and flaws that
   the other has not, and the two were scanned at different sizes.

   Seen:   343 stars on the plate of 1910, 245 on the plate of 1975, in pixels of the two scans.
   Asked:  which star is which, although a good part of either plate has no partner?
           --scale -0.1,0.1        the scans may differ in size by 10 percent
           --min-coverage 0.4      40 percent of the stars found again is enough
           --grid-size 16          the plates are 3000 pixels wide: search them in cells of 16
           --capture-range 8       stars move, emulsions stretch: accept 8 pixels

TEXT
match beehive --scale -0.1,0.1 --min-coverage 0.4 --grid-size 16 --capture-range 8
cat <<'TEXT'
   Found:  190 stars that stand on both plates, the second scanned 5 percent smaller; the crosses are
           stars and flaws of 1910 that the plate of 1975 does not show.

TEXT

cat <<'TEXT'
4. The dots of a plate, each with its column and row
   A board with 7 x 7 dots is held by hand in a room; a detector of blobs found the dots, and 42 other
   things. To calibrate a camera one needs to know which dot is which.

   Seen:   91 centres of blobs, in pixels of a photograph.
   Asked:  which of them lie on a grid, and where on it? No options: the spacing is read off the points.

TEXT
scene grid-map dots7x7
cat <<'TEXT'
   Found:  the 49 dots and nothing else, on 7 columns and 7 rows. Eleven blobs of the room lie near a
           position of the grid by chance; they are not connected with the plate and are set aside.

TEXT

cat <<'TEXT'
5. A known pattern of dots on a staggered grid
   A sheet with 25 dots on every other position of 5 columns and 10 rows, before a bookshelf.

   Seen:   85 centres of blobs, in pixels of a photograph.
   Asked:  where does the pattern of the sheet (pattern.txt) lie, and which blob is which of its dots?

TEXT
scene grid-match dots_staggered --pattern "$data/dots_staggered/pattern.txt"
cat <<'TEXT'
   Found:  all 25 dots, 1.1 pixels (a twentieth of the distance of two dots) off, root mean square.

TEXT
