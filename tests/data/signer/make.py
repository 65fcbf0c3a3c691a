#!/usr/bin/env python3
"""Writes the golden files beside it: input and every stage of a signature, by Python's own hashes. MIT licence."""
import hashlib
import hmac
import pathlib

CASES = {
    "voices": dict(access="AKIDEXAMPLE", secret="wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY", region="us-east-1",
                   method="GET", uri="/v1/voices", payload=""),
    "speech": dict(access="AKIDEXAMPLE", secret="wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY", region="eu-central-1",
                   method="POST", uri="/v1/speech", payload='{"Text":"good morning","VoiceId":"Joanna"}'),
    "china": dict(access="AKID/2", secret="a b", region="cn-northwest-1",
                  method="POST", uri="/v1/speech", payload='{"Text":"早上好 – \U0001f600"}'),
    "nothing": dict(access="", secret="", region="", method="POST", uri="/v1/speech", payload=""),
}
AMZ_DATE, DATE, SERVICE, KIND = "20240229T235958Z", "20240229", "polly", "application/json"


def digest(text):
    return hashlib.sha256(text.encode("utf-8")).hexdigest()


def mac(key, text):
    return hmac.new(key, text.encode("ascii"), hashlib.sha256).digest()


def stages(case):
    domain = "amazonaws.com.cn" if case["region"] == "cn-northwest-1" else "amazonaws.com"
    headers = [("host", f"{SERVICE}.{case['region']}.{domain}"), ("x-amz-date", AMZ_DATE)]
    if case["method"] == "POST":
        headers += [("content-type", KIND), ("x-amz-content-sha256", digest(case["payload"]))]
    headers.sort()
    signed = ";".join(name for name, _ in headers)
    canonical = "\n".join([case["method"], case["uri"], "", "".join(f"{n}:{v}\n" for n, v in headers), signed,
                           digest(case["payload"])])
    scope = f"{DATE}/{case['region']}/{SERVICE}/aws4_request"
    to_sign = "\n".join(["AWS4-HMAC-SHA256", AMZ_DATE, scope, digest(canonical)])
    key = ("AWS4" + case["secret"]).encode("ascii")
    for part in (DATE, case["region"], SERVICE, "aws4_request"):
        key = mac(key, part)
    signature = mac(key, to_sign).hex()
    return {
        **case,
        "canonical request": canonical,
        "string to sign": to_sign,
        "signing key": key.hex(),
        "authorization": f"AWS4-HMAC-SHA256 Credential={case['access']}/{scope}, SignedHeaders={signed}, "
                         f"Signature={signature}",
        "url": f"https://{SERVICE}.{case['region']}.{domain}{case['uri']}?",
    }


for name, given in CASES.items():
    text = "".join(f"=== {stage}\n{value}\n" for stage, value in stages(given).items())
    pathlib.Path(__file__).with_name(name + ".txt").write_text(text, encoding="utf-8")
