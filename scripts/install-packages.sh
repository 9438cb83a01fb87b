# Sourced by the set-up scripts: install_packages TAG PACKAGE... installs those of Debian's
# packages that are not installed yet (with sudo when not root) and says which, after TAG.
install_packages() {
  local tag=$1
  shift
  local missing=()
  local p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  if ((${#missing[@]})); then
    local sudo=""
    if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
    echo "$tag: installing ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
  fi
}
