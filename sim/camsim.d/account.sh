# shellcheck shell=bash
# The camera's account and auth token in a camera root. The password is
# stored only as a SHA-512 crypt hash, as the programs expect it:
# <root>/etc/orvo/account holds "<user>:<hash>", <root>/etc/orvo/auth_token
# the token. `init` creates the account (admin/admin unless --user and
# --password say otherwise).

CAMSIM_ACCOUNT_USER="admin"
CAMSIM_ACCOUNT_PASSWORD="admin"
# Same bounds as the programs' account functions.
ACCOUNT_MAX_USER=32
ACCOUNT_MAX_PASSWORD=128

# Takes one of init's account options: account_option --user|--password VALUE
account_option() {
  [ $# -ge 2 ] && [ -n "$2" ] || die "init: $1 needs a value"
  case "$1" in
    --user) CAMSIM_ACCOUNT_USER=$2 ;;
    --password) CAMSIM_ACCOUNT_PASSWORD=$2 ;;
  esac
}

account_folder() { echo "$1/etc/orvo"; }

# Writes <content> to <file> whole (temporary file, then rename), mode 0600.
replace_private_file() {  # <file> <content>
  local temp
  temp=$(mktemp "$1.XXXXXX")
  printf '%s\n' "$2" >"$temp"
  mv -f -- "$temp" "$1"
}

write_account() {  # <root> <user> <password>
  local root=$1 user=$2 password=$3 hash folder
  [[ ${#user} -le $ACCOUNT_MAX_USER && $user =~ ^[!-9\;-~]+$ ]] ||
    die "user name must be 1-$ACCOUNT_MAX_USER printable characters without ':' or blanks"
  [[ -n $password && ${#password} -le $ACCOUNT_MAX_PASSWORD && $password != *$'\n'* ]] ||
    die "password must be 1-$ACCOUNT_MAX_PASSWORD characters on one line"
  command -v openssl >/dev/null || die "openssl is needed to hash the password (scripts/install-deps.sh)"
  hash=$(printf '%s\n' "$password" | openssl passwd -6 -stdin) || die "could not hash the password"
  folder=$(account_folder "$root")
  mkdir -p -- "$folder"
  replace_private_file "$folder/account" "$user:$hash"
}

# Called by `init` once the folders exist.
init_account() {  # <root>
  write_account "$1" "$CAMSIM_ACCOUNT_USER" "$CAMSIM_ACCOUNT_PASSWORD"
}
