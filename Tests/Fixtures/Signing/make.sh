#!/bin/sh
# Makes the keys and certificates of this folder anew, and with them the trust folder of the tests. Only
# issued-by-root-2.pem stays: a published certificate below the shipped roots, whose key nobody here has.
# Nothing here is secret, and nothing expires before the year 2199 unless it is meant to. issuing.key stays, so
# that tests can issue certificates of their own below a trusted root.
#   usage: make.sh    (needs the command line of openssl 3)
set -eu
out=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir issued trust
: >index.txt
export OPENSSL_CONF="$out/make.cnf" TEXTS=default

for key in authority intermediate stranger issuing signer; do openssl genrsa -out $key.key 2048; done
for bits in 1024 4096; do openssl genrsa -out rsa$bits.key $bits; done
openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out ec.key
openssl genpkey -algorithm RSA-PSS -pkeyopt rsa_keygen_bits:1024 -out pss.key
openssl rsa -in signer.key -traditional -out traditional.key
openssl rsa -in signer.key -traditional -aes128 -passout 'pass:open sesame' -out traditional-encrypted.key
openssl pkcs8 -topk8 -in signer.key -passout 'pass:open sesame' -out pkcs8-encrypted.key

grep -v '^#' "$out/certificates.txt" | while read -r name key issuer extensions TEXTS first last subject; do
  openssl req -new -utf8 -key "$key.key" -subj "$subject" -out request
  [ "$issuer" = self ] && by="-selfsign -keyfile $key.key" || by="-cert $issuer.pem -keyfile $issuer.key"
  # shellcheck disable=SC2086
  openssl ca -batch -notext $by -extensions "$extensions" -in request -out "$name.pem" \
    -startdate "${first}0101000000Z" -enddate "${last}1231235959Z"
done

rm authority.key intermediate.key stranger.key
mv authority.pem trust/root-authority.pem
mv intermediate.pem trust/root-intermediate.pem
mv issuing.pem trust/root-issuing.pem
cp implicit.pem trust/implicit-1.pem
cp self-signed.pem trust/implicit-2.pem
mv stranger.pem trust/implicit-3.pem
for root in root-authority root-intermediate root-issuing; do
  openssl x509 -in trust/$root.pem -noout -fingerprint -sha1 | sed "s/.*=//; s/\$/  $root.pem/" >>trust/fingerprints.txt
done
cp -r ./*.pem ./*.key trust "$out"
