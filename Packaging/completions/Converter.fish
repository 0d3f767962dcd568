# fish completion for Converter

complete -c Converter -o v -d 'print the version and each file that is unpacked'
complete -c Converter -o list -d 'list the files in an archive'
complete -c Converter -o flat -d 'pack a bundle into an archive'
complete -c Converter -o unflat -d 'unpack an archive into a bundle'
complete -c Converter -o sign -d 'sign the file in place'
complete -c Converter -o key -r -F -d 'RSA key to sign with (PEM)'
complete -c Converter -o cert -r -k -a '(__fish_complete_suffix .pem)' -d 'certificate of the key (PEM)'
complete -c Converter -o p -x -d 'pass phrase of the key; better use -pf'
complete -c Converter -o pf -r -F -d 'file that holds the pass phrase'
complete -c Converter -o verify -d 'check the signature'
complete -c Converter -o o -r -F -d 'folder for the result, or its name'
