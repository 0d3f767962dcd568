# What the scripts of the cases share.
LC_ALL=C.UTF-8
export LC_ALL

# bundle NAME: a bundle with a description and nothing else.
bundle() {
  mkdir -p "$1/Contents"
  printf '<widget/>' > "$1/Contents/main.wob"
}

# archive NAME FILE...: an archive with the description and the given files, each holding its own name.
archive() {
  bundle made.widget
  made=$1
  shift
  for name; do
    mkdir -p "$(dirname "made.widget/Contents/$name")"
    printf '%s' "$name" > "made.widget/Contents/$name"
  done
  Converter -flat made.widget -o "./$made"
  rm -r made.widget
}

# patch FILE OFFSET: puts the bytes of standard input over the file's, from an offset.
patch() { dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }

# files FOLDER: everything in it, one name a line.
files() { (cd "$1" && find . ! -name . | sort); }
