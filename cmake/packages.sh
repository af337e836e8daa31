# Sourced by the scripts on top: makes sure that Debian packages are there.

# require_packages NAME...: installs the packages that are missing where that is possible, and
# otherwise prints the line that does it and ends the script.
require_packages() {
  if ! command -v dpkg-query >/dev/null; then
    echo "Not a Debian system: please make sure that the equivalents of these are there: $*" >&2
    return 0
  fi
  local package missing=()
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' \
      || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0

  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! sudo -n true 2>/dev/null; then
      echo "Packages are missing. Please run: sudo apt-get install -y ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo -n)
  fi
  echo "Installing ${missing[*]}"
  # A list that can't be brought up to date may still do.
  "${as_root[@]}" apt-get update -qq >/dev/null 2>&1 || true
  if ! quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
    "${missing[@]}"; then
    echo "That failed. Please run: apt-get install -y ${missing[*]}" >&2
    exit 1
  fi
}

# quietly COMMAND...: shows what a command prints only where it fails.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}
