# Sourced by ./run and ./test: installs what a fresh Debian 12 lacks. Asks nothing.

PACKAGES_BUILD="g++ cmake ninja-build pkg-config ccache
  libzip-dev libdeflate-dev libisal-dev zlib1g-dev libicu-dev nettle-dev libfmt-dev libcli11-dev nlohmann-json3-dev"
PACKAGES_DESKTOP="qt6-base-dev libqt6svg6 qt6-qpa-plugins qt6-translations-l10n shared-mime-info"
PACKAGES_TEST="libgtest-dev libgmock-dev libexpat1-dev strace acl attr python3 python3-openpyxl python3-olefile
  python3-cryptography python3-xlsxwriter python3-xlrd python3-xlwt
  xvfb xauth xdotool desktop-file-utils appstream libglib2.0-bin fonts-dejavu-core fonts-noto-cjk"

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo -n "$@"
  else
    echo "Missing packages can be installed by root or with sudo only: $*" >&2
    return 1
  fi
}

# install_missing PACKAGE...
install_missing() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}" >&2
  as_root apt-get update -qq >&2
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}
